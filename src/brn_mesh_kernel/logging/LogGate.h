#pragma once
/// \file
/// Internal, not installed. Lets threads into log4cplus, counts those inside, and closes before log4cplus
/// ends.
///
/// Static destruction ends log4cplus while other threads may still log, which can abort the process. So the
/// gate closes just before, and waits until the threads inside have left. From then on records are left out.
///
/// A thread that is inside while the process forks would leave its locks locked in the child for ever. So the
/// gate is held during a fork: it waits until no other thread is inside, and lets none in.
///
/// LogEnd_linux.cpp and LogEnd_win.cpp close and hold it.

#include <atomic>
#include <chrono>
#include <mutex>

namespace Brennic::Core {

class LogGate
{
public:
    /// The process's; it outlives whatever may log late.
    static LogGate& instance();

    /// Lets the thread into log4cplus while the object lives, if the gate is open. Waits while another thread
    /// forks.
    class Pass
    {
    public:
        Pass() : m_isInside(instance().enter()) {}
        ~Pass()
        {
            if (m_isInside)
                instance().leave();
        }
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;

        explicit operator bool() const { return m_isInside; }

    private:
        bool m_isInside;
    };

    /// Whether the calling thread is inside: it writes a record, and what it calls may want to log.
    static bool isCallerInside();

    /// Lets no thread in any more. Waits until the other threads inside have left, but not longer than a few
    /// seconds: a disk may stand still.
    void close();

    /// Called before a fork: makes threads that want in wait, and waits for those inside as \ref close does.
    void hold();
    /// Called after a fork, in the process that forked.
    void release();
    /// Called after a fork, in the child. If a thread was still inside, the child's gate closes: the locks
    /// which that thread held will never be free there.
    void releaseInChild();

private:
    enum class State
    {
        open,
        held,
        closed
    };

    LogGate() = default;
    bool enter();
    void leave();
    bool waitForOthers() const;

    std::atomic<State> m_state{State::open};
    std::atomic<int> m_inside{0}; // threads inside, and for a moment those that find the gate closed
    std::mutex m_forkMutex;       // held while the process forks; threads that want in wait for it
    bool m_isDeserted = false;    // guarded by m_forkMutex: no other thread was inside at the fork
};

} // namespace Brennic::Core
