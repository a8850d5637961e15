#pragma once
/// \file
/// Internal, not installed. The terminal or the console that shows what the process prints. For the kernel and for the
/// programs of this tree.

#include <cstddef>
#include <memory>

namespace Brennic::Core {

/// Whether the standard output is a terminal or a console, and one that moves its cursor when told to.
bool isOutputATerminal();

/// The current width of that terminal in columns; 80 if it is unknown.
std::size_t terminalWidth();

/// Has the process's console take UTF-8 while the object lives, also where only the standard error is shown on it.
/// Terminals of Linux take UTF-8 as it is.
class Utf8Console
{
public:
    Utf8Console();
    ~Utf8Console();
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl; // null: there is nothing to put back
};

/// Has the terminal take UTF-8 and the sequences that move its cursor, while the object lives. Does nothing where the
/// standard output is none.
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
