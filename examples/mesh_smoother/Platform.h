#pragma once
/// \file
/// What differs between platforms: the terminal, the user's wish to stop, and the last steps of a process.

#include <functional>
#include <memory>

/// Has the terminal take UTF-8 while it lives, as all text of the program is.
class TerminalOutput
{
public:
    TerminalOutput();
    ~TerminalOutput();
    TerminalOutput(const TerminalOutput&) = delete;
    TerminalOutput& operator=(const TerminalOutput&) = delete;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

/// Ends the process as if the signal had not been caught, so that whoever started it sees that.
[[noreturn]] void endInterrupted();

/// Calls back in the thread that made it, through its event loop, when the user interrupts (Ctrl-C) or the
/// process is asked to terminate. A second time ends the process at once.
class InterruptWatch
{
public:
    explicit InterruptWatch(std::function<void()> interrupted);
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

/// Raises an illegal-instruction fault.
void raiseIllegalInstruction();

/// Writes the text to the standard error without allocation and without locks, as a process that dies has to.
void printWithoutMemory(const char* text);
