#pragma once
/// \file
/// What the library asks of the process and of its threads, in each platform's way. Not installed.

#include <cstdint>
#include <string>
#include <utility>

namespace Brennic::Core {

/// Registers \p function with `exit()`, which calls it in the exiting thread while the other threads still run.
/// Functions that programs and libraries register are called in reverse order.
void callAtExit(void (*function)());

/// Starts a thread that runs \p function and that nobody joins. What the function throws ends the process.
/// \return false if the system has no thread.
bool startThread(void (*function)());

/// Tells when the thread that has made it has gone. `QThread` says so earlier: the system still runs code of libraries in
/// the thread then, which takes locks.
class ThreadEnd
{
public:
    ThreadEnd();
    ~ThreadEnd(); // NOLINT(performance-trivially-destructible): it is not on Windows
    ThreadEnd(ThreadEnd&& other) noexcept : m_thread(std::exchange(other.m_thread, 0)) {}
    ThreadEnd& operator=(ThreadEnd&& other) noexcept
    {
        std::swap(m_thread, other.m_thread);
        return *this;
    }

    /// Of the calling thread it counts as come: nobody waits there for it.
    bool hasCome() const;

private:
    std::intptr_t m_thread; // as the system names it
};

/// Gives the calling thread a name of at most 15 bytes, for debuggers and profilers.
///
/// Not left to `QThread`, which converts its object's name by the locale: Qt 5 sets the C locale of the whole
/// process for that, and hangs or aborts where that meets the start of the application or its end.
void nameCurrentThread(const std::string& name);

/// Returns the number of the core that the calling thread runs on. It may be on another right after.
int currentCore();

} // namespace Brennic::Core
