#pragma once
/// \file
/// Internal, not installed. A thread that waits for the crash, to do what the crashing thread cannot.
///
/// The crashing thread may have no stack left, or hold the lock without which no new thread begins.

#include <windows.h>

namespace Brennic::Core {

class CrashThread
{
public:
    using Work = void (*)();

    CrashThread() = default;
    CrashThread(const CrashThread&) = delete;
    CrashThread& operator=(const CrashThread&) = delete;

    /// Makes the thread, unless it is there already.
    void start();

    /// Has the work done and waits for it. The thread serves again only if it has come to an end in time.
    /// \param milliseconds how long to wait for a thread that stands still, and for one that works eight times that;
    ///        `INFINITE` for ever.
    /// \return whether it has come to its end; false at once if there is no thread, or it is busy.
    bool run(Work work, DWORD milliseconds);

    /// Whether the calling thread is this one.
    bool isCurrent() const { return GetCurrentThreadId() == m_id; }
    /// Tells who waits that the work has crashed.
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
