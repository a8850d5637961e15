#pragma once
/// \file
/// Internal, not installed. A file that gets its name only when it is complete.
///
/// It is written under a random name in the same folder and then renamed, so a reader finds the older file or the
/// new one, never a part. It does not write through links, and a full disk does not cost the older file. Uses
/// system calls only and does not allocate: safe in a signal handler. Results are 0 or -errno.
///
/// Compiled into both libraries: the kernel's reports and this one's dumps are written alike.

#include <atomic>
#include <cstddef>

#include <brn_mesh_common/minidump/FixedText.h>

namespace Brennic::Minidump {

using PathText = FixedText<4096>;

/// Lies zeroed in static storage, or on a stack that has room for two paths.
class AtomicFile
{
public:
    enum class Readers
    {
        Owner,  ///< for dumps: the memory of a process may hold secrets
        AsUsual ///< as the process makes files; a file that is replaced keeps its rights
    };

    AtomicFile() = default;
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Whether the path leads to a device, a FIFO or an open descriptor: it is written to, not replaced. Links of
    /// other users than this one and the system's lead nowhere.
    static bool leadsToDevice(const PathText& path);

    /// Creates the file beside \p path, whatever lies there.
    long create(const PathText& path, Readers readers);
    /// The same, but as one opens a file: what may not be written is not replaced, a device is opened itself, and
    /// so is a file in a folder where none can be created.
    long open(const PathText& path);

    int descriptor() const { return m_descriptor; }
    /// Writes all of it.
    long write(const void* data, std::size_t size);

    /// Closes the file and gives it its name. Whether that worked or not, nothing is left beside it.
    long publish();
    /// The same, but -EEXIST if there is something under the name: another one can then be tried.
    long publishAsNew();
    void takeNextName(const PathText& path);
    /// Copies the content to the device, and removes the file.
    long copyToDevice(const PathText& device);
    /// Removes the file if it has not been published.
    void discard();
    /// The same, called for the thread that writes: its descriptor stays open, and what it writes is never published.
    void abandon();
    /// Forgets a file whose descriptor was closed by the end of the process that wrote it.
    void forget();

private:
    long examine();
    long openItself(int flags);
    long createPartial();
    long copyInto(int target);
    long replaceContent();
    long close();

    int m_descriptor = -1;
    unsigned m_mode = 0;
    bool m_isDevice = false;              // or another target that is written directly
    bool m_mayBeWritten = false;          // a file under the name
    std::atomic<bool> m_isPartial{false}; // there is a file under the partial name
    PathText m_path;
    PathText m_partialPath;
};

} // namespace Brennic::Minidump
