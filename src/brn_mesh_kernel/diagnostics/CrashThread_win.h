#pragma once
/// \file
/// Internal, not installed. A thread that sleeps until a crash, and then does what the crashing thread
/// cannot.
///
/// The crashing thread may have no stack left. It cannot start a thread then either, as it may hold the
/// loader's lock, which a new thread needs.

#include <windows.h>

namespace Brennic::Core {

class CrashThread
{
public:
    using Work = void (*)();

    CrashThread() = default;
    CrashThread(const CrashThread&) = delete;
    CrashThread& operator=(const CrashThread&) = delete;

    /// Starts the thread, unless it runs already.
    void start();

    /// Runs the work on the thread and waits for it. If the work does not finish in time, the thread is not
    /// used again.
    /// \param milliseconds the limit without any progress; the total limit is eight times that. `INFINITE`:
    /// no limit.
    /// \return whether the work has finished; false at once if there is no thread, or it is still busy.
    bool run(Work work, DWORD milliseconds);

    /// Whether the calling thread is this one.
    bool isCurrent() const { return GetCurrentThreadId() == m_id; }
    /// Ends the wait in \ref run, because the work has crashed.
    void giveUp();

private:
    static DWORD WINAPI main(void* self);
    void serve();
    bool waitForAnswer(DWORD milliseconds) const;

    HANDLE m_thread = nullptr;
    HANDLE m_asked = nullptr;
    HANDLE m_answered = nullptr;
    DWORD m_id = 0;
    Work m_work = nullptr;
    bool m_isDone = false;
    bool m_isLost = false;
};

} // namespace Brennic::Core
