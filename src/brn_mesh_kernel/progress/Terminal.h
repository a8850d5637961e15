#pragma once
/// \file
/// Internal, not installed. What there is to know of the terminal that the standard output may be.

#include <cstddef>
#include <memory>

namespace Brennic::Core {

/// Whether the standard output is shown to somebody, by a terminal that moves its cursor when told to.
bool isOutputATerminal();

/// The width of that terminal in columns at this moment; 80 where it does not tell.
std::size_t terminalWidth();

/// Has the terminal take UTF-8 and the sequences that move its cursor, while it lives.
class TerminalMode
{
public:
    TerminalMode();
    ~TerminalMode();
    TerminalMode(const TerminalMode&) = delete;
    TerminalMode& operator=(const TerminalMode&) = delete;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace Brennic::Core
