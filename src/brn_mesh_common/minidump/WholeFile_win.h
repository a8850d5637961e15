#pragma once
/// \file
/// Internal, not installed. A file that has its name only when it is whole.
///
/// It is created beside its place under a name that nobody can guess, and moved when all of it is written: whoever reads the
/// name finds the older file or the new one. A link under the name is replaced, and what it leads to is left alone.
///
/// Compiled into both libraries: the kernel's reports and this one's dumps are written alike. Allocates nothing.

#include <brn_mesh_common/minidump/DumpPath_win.h>

#include <atomic>

#include <windows.h>

namespace Brennic::Minidump {

/// Holds two paths of the greatest length: does not belong on a stack.
class WholeFile
{
public:
    WholeFile() = default;
    ~WholeFile() { discard(); }
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    /// Creates the file beside \p path, whatever lies there. \return whether it could be created.
    bool create(const wchar_t* path);
    /// The same, but as one opens a file: what may not be written is not replaced, a device is opened itself, and so is a
    /// file in a folder where none can be created.
    bool open(const wchar_t* path);

    HANDLE handle() const { return m_handle; }
    /// \return how much has been written; negative if nobody knows. Thread: any.
    LONGLONG size() const;
    /// Writes all of it. \return whether that worked.
    bool write(const void* data, DWORD size);

    /// Closes the file and gives it its name. Whether that worked or not, nothing is left beside it.
    bool publish();
    /// The same, but only if there is nothing under the name.
    bool publishAsNew();
    /// Removes what is not published. Does nothing if there is nothing.
    void discard();
    /// The same for another thread, which does not come back: the file goes with its handle, at the end of the process at the
    /// latest.
    void giveUp();

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
