#pragma once
/// \file
/// Internal, not installed. Gets a dump onto a disk: under the wanted name or, failing that, among the
/// temporary files; as full as there is room for.

#include <brn_mesh_common/minidump/DumpFile_linux.h>
#include <brn_mesh_common/minidump/DumpPath_linux.h>
#include <brn_mesh_common/minidump/DumpWriter_linux.h>

namespace Brennic::Minidump {

/// Lies zeroed in static storage.
class DumpOutput
{
public:
    /// \param path the wanted name; null for a new file among the temporary files.
    /// \param extent the most that is written.
    /// \return whether a complete dump lies somewhere. Where it does not lie at \p path, standard error
    /// tells.
    bool write(Snapshot& snapshot, const wchar_t* path, Extent extent);

private:
    bool writeToWantedPath(Snapshot& snapshot, const wchar_t* path, Extent extent);
    bool writeToTemporaryFile(Snapshot& snapshot, Extent extent);
    bool writePartial(Snapshot& snapshot, Extent extent);
    bool openPartial();
    void discardPartial();

    DumpFile m_file;
    PathText m_path;
    PathText m_partialPath;
};

} // namespace Brennic::Minidump
