#pragma once
/// \file
/// What the program needs to know of its terminal, and of the user's wish to stop.

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
