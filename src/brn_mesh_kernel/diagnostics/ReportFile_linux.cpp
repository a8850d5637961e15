#include <brn_mesh_kernel/diagnostics/ReportFile.h>

#include <atomic>
#include <cerrno>

#include <brn_mesh_common/Util.h>
#include <brn_mesh_common/minidump/AtomicFile_linux.h>

namespace Brennic::Core {

struct ReportFile::Platform
{
    Minidump::AtomicFile file;
};

namespace {

// The file of the report that was begun last. The crash filter takes it when the report's time is over.
std::atomic<Minidump::AtomicFile*> g_last{nullptr};

// Sets errno, from which hosts explain the failure to their users.
bool isDone(long result)
{
    if (result < 0)
        errno = static_cast<int>(-result);
    return result == 0;
}

} // namespace

ReportFile::ReportFile() : m_platform(std::make_unique<Platform>()) {}

ReportFile::~ReportFile()
{
    // Only if it is still this one: another report may have begun since, or the crash filter has taken it.
    Minidump::AtomicFile* own = &m_platform->file;
    g_last.compare_exchange_strong(own, nullptr);
    m_platform->file.discard();
}

bool ReportFile::open(const std::wstring& path)
{
    Minidump::PathText name;
    name.append(Objects::Util::ConvertToChar(path));
    g_last = &m_platform->file;
    return isDone(m_platform->file.open(name));
}

bool ReportFile::write(const char* text, std::size_t size)
{
    return isDone(m_platform->file.write(text, size));
}

bool ReportFile::publish()
{
    return isDone(m_platform->file.publish());
}

void ReportFile::abandonLast()
{
    if (Minidump::AtomicFile* const last = g_last.exchange(nullptr))
        last->abandon();
}

} // namespace Brennic::Core
