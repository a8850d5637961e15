#pragma once
/// \file
/// Internal, not installed. A file that gets its name only when it is complete.
///
/// It is written under a random name in the same folder and then renamed, so a reader finds the older file or the new
/// one, never a part. A link of that name is replaced; its target does not change.
///
/// Compiled into both libraries: the kernel's reports and this one's dumps are written alike. Allocates nothing.

#include <brn_mesh_common/minidump/DumpPath_win.h>

#include <atomic>

#include <windows.h>

namespace Brennic::Minidump {

/// Holds two paths of the greatest length: does not belong on a stack.
class AtomicFile
{
public:
    AtomicFile() = default;
    ~AtomicFile() { discard(); }
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Creates the file beside \p path, whatever lies there. \return whether it could be created.
    bool create(const wchar_t* path);
    /// The same, but as one opens a file: what may not be written is not replaced, a device is opened itself, and
    /// so is a file in a folder where none can be created.
    bool open(const wchar_t* path);

    HANDLE handle() const { return m_handle; }
    /// \return how many bytes have been written; negative if that is unknown. Thread: any.
    LONGLONG size() const;
    /// Writes all of it. \return whether that worked.
    bool write(const void* data, DWORD size);

    /// Closes the file and gives it its name. Whether that worked or not, nothing is left beside it.
    bool publish();
    /// The same, but only if there is nothing under the name.
    bool publishAsNew();
    /// Removes the file if it has not been published.
    void discard();
    /// The same for another thread, which does not come back: the file goes with its handle, at the end of the process at the
    /// latest.
    void abandon();

private:
    bool examine();
    bool openItself(DWORD disposition);
    bool createPartial();
    bool replaceContent();
    bool close();

    std::atomic<HANDLE> m_handle{INVALID_HANDLE_VALUE};
    bool m_isDevice = false;
    bool m_mayBeWritten = false; // a file under the name
    std::atomic<bool> m_isPartial{false};
    PathBuffer m_path{};
    PathBuffer m_partialPath{};
};

} // namespace Brennic::Minidump
