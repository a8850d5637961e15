#include <brn_mesh_common/minidump/DumpOutput_linux.h>

#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <unistd.h>

namespace Brennic::Minidump {

namespace {

constexpr std::uint32_t mostAttempts = 100;

bool renameTo(const PathText& from, const PathText& to)
{
    return systemCall(SYS_renameat, AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str()) == 0;
}

bool renameToNew(const PathText& from, const PathText& to)
{
    return systemCall(SYS_renameat2, AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0;
}

void announce(const PathText& path)
{
    FixedText<4200> line;
    line.append("[KVS_LOG] Crash dump written to ").append(path.view()).append('\n');
    systemCall(SYS_write, STDERR_FILENO, line.view().data(), line.view().size());
}

Extent less(Extent extent)
{
    return extent == Extent::Full ? Extent::ShortStacks : Extent::CallingThread;
}

} // namespace

bool DumpOutput::write(Snapshot& snapshot, const wchar_t* path, Extent extent)
{
    if (path != nullptr && writeToWantedPath(snapshot, path, extent))
        return true;
    if (!writeToTemporaryFile(snapshot, extent))
        return false;
    announce(m_path);
    return true;
}

bool DumpOutput::writeToWantedPath(Snapshot& snapshot, const wchar_t* path, Extent extent)
{
    m_path = toUtf8Path(path);
    if (m_path.isCut() || m_path.view().empty())
        return false;
    if (!writePartial(snapshot, extent))
        return false;
    if (renameTo(m_partialPath, m_path))
        return true;
    discardPartial();
    return false;
}

bool DumpOutput::writeToTemporaryFile(Snapshot& snapshot, Extent extent)
{
    for (std::uint32_t attempt = 0; attempt != mostAttempts; ++attempt) {
        m_path = temporaryDumpPath(snapshot.process, attempt);
        if (systemCall(SYS_faccessat, AT_FDCWD, m_path.c_str(), F_OK) == 0)
            continue;
        if (!writePartial(snapshot, extent))
            return false;
        if (renameToNew(m_partialPath, m_path))
            return true;
        discardPartial();
    }
    return false;
}

bool DumpOutput::writePartial(Snapshot& snapshot, Extent extent)
{
    m_partialPath = partialPath(m_path);
    while (openPartial()) {
        DumpWriter(snapshot, m_file, extent).write();
        if (m_file.finish())
            return true;
        discardPartial(); // no room: try with less
        if (extent == Extent::CallingThread)
            break;
        extent = less(extent);
    }
    return false;
}

bool DumpOutput::openPartial()
{
    if (m_file.open(m_partialPath.c_str()))
        return true;
    discardPartial(); // left by a process of this name that was killed while it wrote
    return m_file.open(m_partialPath.c_str());
}

void DumpOutput::discardPartial()
{
    systemCall(SYS_unlinkat, AT_FDCWD, m_partialPath.c_str(), 0);
}

} // namespace Brennic::Minidump
