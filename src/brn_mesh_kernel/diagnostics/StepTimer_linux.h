#pragma once
/// \file
/// Internal, not installed. Interrupts the calling thread with a signal when a step of it takes too long.
/// By system calls alone, without a thread: safe in a signal handler.

#include <csignal>
#include <cstdint>

namespace Brennic::Core {

class StepTimer
{
public:
    using Handler = void (*)(int signal, siginfo_t* information, void* context);

    /// Reserves a real-time signal, if possible one that the host does not use.
    void prepare(Handler handler);
    /// Makes the system call the handler on this thread in \p milliseconds, unless \ref stop is called
    /// before. The handler finds \p value in the signal's information. If the system has no timer left, there
    /// is no limit.
    void start(std::int64_t milliseconds, int value);
    void stop();

private:
    int m_signal = 0;
    int m_timer = -1; // the kernel's number
};

} // namespace Brennic::Core
