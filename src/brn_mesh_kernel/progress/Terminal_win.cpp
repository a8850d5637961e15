#include <brn_mesh_kernel/progress/Terminal.h>

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

class TerminalMode::Impl
{
public:
    Impl() : m_savedCodePage(GetConsoleOutputCP())
    {
        if (GetConsoleMode(outputHandle(), &m_savedMode) == FALSE)
            return;
        m_isConsole = true;
        SetConsoleOutputCP(CP_UTF8);
        SetConsoleMode(outputHandle(), m_savedMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
    ~Impl()
    {
        if (!m_isConsole)
            return;
        SetConsoleMode(outputHandle(), m_savedMode);
        SetConsoleOutputCP(m_savedCodePage);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

private:
    UINT m_savedCodePage;
    DWORD m_savedMode = 0;
    bool m_isConsole = false;
};

TerminalMode::TerminalMode() : m_impl(std::make_unique<Impl>()) {}
TerminalMode::~TerminalMode() = default;

} // namespace Brennic::Core
