#include <brn_console/Terminal.h>

#include <optional>

#include <windows.h>

namespace Brennic::Core {

namespace {

HANDLE outputHandle()
{
    return GetStdHandle(STD_OUTPUT_HANDLE);
}

} // namespace

bool isOutputATerminal()
{
    DWORD mode = 0;
    return GetFileType(outputHandle()) == FILE_TYPE_CHAR && GetConsoleMode(outputHandle(), &mode) != FALSE;
}

std::size_t terminalWidth()
{
    constexpr std::size_t usualWidth = 80;
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (GetConsoleScreenBufferInfo(outputHandle(), &info) == FALSE)
        return usualWidth;
    const int width = info.srWindow.Right - info.srWindow.Left + 1;
    return width > 0 ? static_cast<std::size_t>(width) : usualWidth;
}

class Utf8Console::Impl
{
public:
    explicit Impl(UINT formerCodePage) : m_formerCodePage(formerCodePage) {}
    ~Impl() { SetConsoleOutputCP(m_formerCodePage); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

private:
    const UINT m_formerCodePage;
};

Utf8Console::Utf8Console()
{
    const UINT codePage = GetConsoleOutputCP();
    if (codePage != 0 && SetConsoleOutputCP(CP_UTF8) != FALSE)
        m_impl = std::make_unique<Impl>(codePage);
}

Utf8Console::~Utf8Console() = default;

class TerminalMode::Impl
{
public:
    Impl()
    {
        if (GetConsoleMode(outputHandle(), &m_savedMode) == FALSE)
            return;
        m_console.emplace();
        SetConsoleMode(outputHandle(), m_savedMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
    ~Impl()
    {
        if (m_console)
            SetConsoleMode(outputHandle(), m_savedMode);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

private:
    DWORD m_savedMode = 0;
    std::optional<Utf8Console> m_console; // empty: the output is no console
};

TerminalMode::TerminalMode() : m_impl(std::make_unique<Impl>()) {}
TerminalMode::~TerminalMode() = default;

} // namespace Brennic::Core
