#include <brn_console/Terminal.h>

#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Brennic::Core {

bool isOutputATerminal()
{
    // A dumb terminal would show the sequences as text.
    const char* const kind = std::getenv("TERM");
    const bool isDumb = kind != nullptr && std::string_view(kind) == "dumb";
    return ::isatty(STDOUT_FILENO) == 1 && !isDumb;
}

std::size_t terminalWidth()
{
    constexpr std::size_t usualWidth = 80;
    winsize size = {};
    const bool isKnown = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : usualWidth;
}

// Terminals take UTF-8 and sequences as they are.
class Utf8Console::Impl
{
};

Utf8Console::Utf8Console() = default;
Utf8Console::~Utf8Console() = default;

class TerminalMode::Impl
{
};

TerminalMode::TerminalMode() = default;
TerminalMode::~TerminalMode() = default;

} // namespace Brennic::Core
