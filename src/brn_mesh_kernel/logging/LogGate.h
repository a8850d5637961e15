#pragma once
/// \file
/// Internal, not installed. Says whether log4cplus may be used, and knows which threads are using it.
///
/// log4cplus ends with the process, by static destruction, while other threads may still log; the gate closes just before,
/// and waits until those inside have come out. From then on records are left out. While the process forks the gate is held:
/// no other thread is inside, so none leaves a lock behind that the child would wait for.

#include <atomic>
#include <chrono>
#include <mutex>

namespace Brennic::Core {

class LogGate
{
public:
    /// The process's; it outlives whatever may log late.
    static LogGate& instance();

    /// Lets the thread into log4cplus while it lives, if the gate is open. Waits while another thread forks.
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

    /// Lets nobody in any more. Waits for those inside, but not for the calling thread, and for nobody who stays for more
    /// than a few seconds: a disk may stand still.
    void close();

    /// Before a fork: holds back who wants in, and waits for those inside as \ref close does.
    void hold();
    /// After a fork, in the process that forked.
    void release();
    /// After a fork, in the child. Where a thread was still inside, the child's gate closes: its locks may never be free.
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
    std::atomic<int> m_inside{0}; // threads, and for a moment those that are turned away
    std::mutex m_forkMutex;       // held while the process forks
    bool m_isDeserted = false;    // guarded by m_forkMutex: nobody else was inside when the process forked
};

} // namespace Brennic::Core
