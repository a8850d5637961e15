#include <brn_mesh_common/minidump/DumpOutput_linux.h>

#include <cerrno>
#include <string_view>

#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <unistd.h>

namespace Brennic::Minidump {

namespace {

constexpr int mostAttempts = 100;
constexpr long notFinished = 0; // the error while a writer is at work

using Line = FixedText<2 * 4096 + 200>;

void print(const Line& line)
{
    systemCall(SYS_write, STDERR_FILENO, line.view().data(), line.view().size());
}

void announce(const PathText& path)
{
    Line line;
    line.append("[KVS_LOG] Crash dump written to ").append(path.view()).append('\n');
    print(line);
}

// Not strerror(): it translates its texts, and allocates.
std::string_view textOf(long error)
{
    switch (-error) {
    case notFinished:
        return "not finished in time";
    case EACCES:
    case EPERM:
        return "permission denied";
    case ENOSPC:
    case EDQUOT:
        return "no space left";
    case EFBIG:
        return "larger than files may be";
    case EMFILE:
    case ENFILE:
        return "no file descriptor left";
    case ENOENT:
    case ENOTDIR:
        return "no such directory";
    case EROFS:
        return "read-only file system";
    case ENAMETOOLONG:
        return "name too long";
    case ENXIO:
        return "nobody reads it";
    default:
        return "error";
    }
}

void appendReason(Line& line, std::string_view path, long error)
{
    line.append(path).append(": ").append(textOf(error));
    if (error != notFinished)
        line.append(" (").appendDecimal(static_cast<std::uint64_t>(-error)).append(')');
}

Extent less(Extent extent)
{
    return extent == Extent::Full ? Extent::ShortStacks : Extent::CallingThread;
}

} // namespace

void DumpOutput::start(std::int32_t process)
{
    if (m_process == process)
        m_whole.abandon();
    m_whole.forget();
    m_process = process;
    m_path.clear();
    m_temporaryPath.clear();
    m_error = m_temporaryError = notFinished;
    m_isDeviceUsed = false;
}

bool DumpOutput::write(Snapshot& snapshot, const wchar_t* path, Extent extent)
{
    if (!m_isDeviceUsed)
        m_error = notFinished;
    m_temporaryError = notFinished;
    m_temporaryPath.clear();
    if (path != nullptr) {
        m_path = toUtf8Path(path);
        if (writeToWantedPath(snapshot, extent))
            return true;
    }
    if (!writeToTemporaryFile(snapshot, extent))
        return false;
    announce(m_temporaryPath);
    return true;
}

bool DumpOutput::writeToWantedPath(Snapshot& snapshot, Extent extent)
{
    if (AtomicFile::leadsToDevice(m_path))
        return writeToDevice(snapshot, extent);
    m_error = writePartial(snapshot, m_path, extent);
    if (m_error == 0)
        m_error = m_whole.publish();
    return m_error == 0;
}

// The directory at the front of a dump is written last. Some devices can only be written from front to back, so
// the dump is written to a file first and then copied. A device is used once: it keeps what it has taken, and a second
// dump behind half of one cannot be read.
bool DumpOutput::writeToDevice(Snapshot& snapshot, Extent extent)
{
    if (m_isDeviceUsed)
        return false;
    m_error = writePartial(snapshot, temporaryDumpPath(snapshot.process), extent);
    if (m_error != 0)
        return false;
    m_isDeviceUsed = true;
    m_error = m_whole.copyToDevice(m_path);
    return m_error == 0;
}

bool DumpOutput::writeToTemporaryFile(Snapshot& snapshot, Extent extent)
{
    m_temporaryPath = temporaryDumpPath(snapshot.process);
    m_temporaryError = writePartial(snapshot, m_temporaryPath, extent);
    if (m_temporaryError == 0)
        m_temporaryError = publishAsNew(snapshot.process);
    return m_temporaryError == 0;
}

long DumpOutput::publishAsNew(std::int32_t process)
{
    long result = m_whole.publishAsNew();
    for (int attempt = 0; result == -EEXIST && attempt != mostAttempts; ++attempt) {
        m_temporaryPath = temporaryDumpPath(process);
        m_whole.takeNextName(m_temporaryPath);
        result = m_whole.publishAsNew();
    }
    return result;
}

long DumpOutput::writePartial(Snapshot& snapshot, const PathText& path, Extent extent)
{
    for (;;) {
        const long created = m_whole.create(path, AtomicFile::Readers::Owner);
        if (created != 0)
            return created;
        m_file.begin(m_whole.descriptor());
        DumpWriter(snapshot, m_file, extent).write();
        const long result = m_file.finish();
        if (result == 0)
            return 0;
        m_whole.discard(); // no room: try with less
        if (extent == Extent::CallingThread)
            return result;
        extent = less(extent);
    }
}

void DumpOutput::clearAfterWriter()
{
    m_whole.abandon();
    m_whole.forget();
}

void DumpOutput::tellFailure(const wchar_t* path) const
{
    Line line;
    line.append("[KVS_LOG] No crash dump: ");
    if (path != nullptr)
        appendReason(line, toUtf8Path(path).view(), m_error);
    if (path != nullptr && m_error != notFinished)
        line.append("; ");
    if (path == nullptr || m_error != notFinished)
        appendReason(line, m_temporaryPath.view().empty() ? "temporary files" : m_temporaryPath.view(),
                     m_temporaryError);
    line.append('\n');
    print(line);
}

} // namespace Brennic::Minidump
