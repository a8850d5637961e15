#pragma once
/// \file
/// Internal, not installed. Writes a dump to disk: under the requested name or, if that fails, to the directory for
/// temporary files; a smaller dump if the disk is too full.

#include <brn_mesh_common/minidump/AtomicFile_linux.h>
#include <brn_mesh_common/minidump/DumpFile_linux.h>
#include <brn_mesh_common/minidump/DumpPath_linux.h>
#include <brn_mesh_common/minidump/DumpWriter_linux.h>

namespace Brennic::Minidump {

/// Lies zeroed in static storage.
class DumpOutput
{
public:
    /// Removes the file of an earlier writer of this process that was killed, and forgets its error.
    void start(std::int32_t process);

    /// \param path the requested name; null for a new file in the directory for temporary files.
    /// \param extent the most that is written.
    /// \return whether a complete dump was written. If its path is not \p path, a line on standard error names it.
    bool write(Snapshot& snapshot, const wchar_t* path, Extent extent);

    /// Removes the file of a writer that was killed, whose descriptors have been closed with it.
    void clearAfterWriter();
    /// Prints one line on standard error with the reason why there is no dump.
    void tellFailure(const wchar_t* path) const;

private:
    bool writeToWantedPath(Snapshot& snapshot, Extent extent);
    bool writeToDevice(Snapshot& snapshot, Extent extent);
    bool writeToTemporaryFile(Snapshot& snapshot, Extent extent);
    long writePartial(Snapshot& snapshot, const PathText& path, Extent extent);
    long publishAsNew(std::int32_t process);

    std::int32_t m_process = 0; // whose files these are: a forked child has a copy of this
    DumpFile m_file;
    AtomicFile m_whole;
    PathText m_path;
    long m_error = 0; // of the wanted name
    bool m_isDeviceUsed = false;
    PathText m_temporaryPath;
    long m_temporaryError = 0;
};

} // namespace Brennic::Minidump
