#include <brn_mesh_kernel/diagnostics/ReportFile.h>

#include <atomic>
#include <string_view>

#include <brn_mesh_common/minidump/AtomicFile_win.h>

namespace Brennic::Core {

struct ReportFile::Platform
{
    Minidump::AtomicFile file;
    std::string lines; // the text with CR LF; kept between writes for its memory
};

namespace {

// The file of the report that was begun last. The crash filter takes it when the report's time is over.
std::atomic<Minidump::AtomicFile*> g_last{nullptr};

} // namespace

ReportFile::ReportFile() : m_platform(std::make_unique<Platform>()) {}

ReportFile::~ReportFile()
{
    // Only if it is still this one: another report may have begun since, or the crash filter has taken it.
    Minidump::AtomicFile* own = &m_platform->file;
    g_last.compare_exchange_strong(own, nullptr);
}

bool ReportFile::open(const std::wstring& path)
{
    g_last = &m_platform->file;
    return m_platform->file.open(path.c_str());
}

bool ReportFile::write(const char* text, std::size_t size)
{
    std::string& lines = m_platform->lines;
    lines.clear();
    for (const char character : std::string_view(text, size)) {
        if (character == '\n')
            lines += '\r';
        lines += character;
    }
    return m_platform->file.write(lines.data(), static_cast<DWORD>(lines.size()));
}

bool ReportFile::publish()
{
    return m_platform->file.publish();
}

void ReportFile::abandonLast()
{
    if (Minidump::AtomicFile* const last = g_last.exchange(nullptr))
        last->abandon();
}

} // namespace Brennic::Core
