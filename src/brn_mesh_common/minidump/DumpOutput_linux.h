#pragma once
/// \file
/// Internal, not installed. Gets a dump onto a disk: under the wanted name or, failing that, among the
/// temporary files; as full as there is room for.

#include <brn_mesh_common/minidump/DumpFile_linux.h>
#include <brn_mesh_common/minidump/DumpPath_linux.h>
#include <brn_mesh_common/minidump/DumpWriter_linux.h>
#include <brn_mesh_common/minidump/WholeFile_linux.h>

namespace Brennic::Minidump {

/// Lies zeroed in static storage.
class DumpOutput
{
public:
    /// Removes what a writer of this process has left that was ended, and forgets why it has failed.
    void start(std::int32_t process);

    /// \param path the wanted name; null for a new file among the temporary files.
    /// \param extent the most that is written.
    /// \return whether a complete dump lies somewhere. Where it does not lie at \p path, standard error
    /// tells.
    bool write(Snapshot& snapshot, const wchar_t* path, Extent extent);

    /// Removes what a writer has left that was ended. Its descriptors have ended with it.
    void clearAfterWriter();
    /// Says in one line on standard error why there is no dump.
    void tellFailure(const wchar_t* path) const;

private:
    bool writeToWantedPath(Snapshot& snapshot, Extent extent);
    bool writeToDevice(Snapshot& snapshot, Extent extent);
    bool writeToTemporaryFile(Snapshot& snapshot, Extent extent);
    long writePartial(Snapshot& snapshot, const PathText& path, Extent extent);
    long publishAsNew(std::int32_t process);

    std::int32_t m_process = 0; // whose files these are: a forked child has a copy of this
    DumpFile m_file;
    WholeFile m_whole;
    PathText m_path;
    long m_error = 0; // of the wanted name
    PathText m_temporaryPath;
    long m_temporaryError = 0;
};

} // namespace Brennic::Minidump
