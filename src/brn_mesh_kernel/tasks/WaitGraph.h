#pragma once
/// \file
/// Knows which threads wait for which tasks, and finds the waits that cannot end. Not installed.
///
/// A thread is listed while it sleeps for a task. The task is running in a thread, or it is pending, and then
/// the thread of each worker of its queue could run it. A wait can end if one of those threads is not listed,
/// or can end its own wait. The end of a loop is waited for in the same way, but it needs all threads that run
/// its parts. So whoever begins to sleep follows the threads from its task on, and strikes out every wait that
/// can end. If its own is left, none of those that are left will ever go on, and one wait is given up: its own,
/// if it has a task that can be taken back, or another's. That is repeated until its own wait can end.
///
/// It suffices to look when a thread begins to sleep: nothing but a sleeping thread closes a circle, and what
/// is closed stays so. A thread that waits in an event loop is not listed, since it serves tasks.
///
/// Threads: every function may be called from any thread, with no lock held.

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace Brennic::Core {

class TaskWorker;
struct TaskQueueCore;

class WaitGraph
{
public:
    /// Whoever could end a wait at this moment.
    struct Target
    {
        enum Kind
        {
            Unknown, ///< Somebody may: the wait counts as one that can end.
            Running, ///< The task is running in the only one of `threads`.
            Loop,    ///< Parts of the loop are running in all `threads`.
            Pending, ///< The task is pending in the queue of `core`.
        };
        Kind kind = Unknown;
        std::vector<std::thread::id> threads;
        std::shared_ptr<TaskQueueCore> core;
    };

    /// The wait of the calling thread; its owner keeps what it waits for.
    class Wait
    {
    public:
        Wait() = default;
        Wait(const Wait&) = delete;
        Wait& operator=(const Wait&) = delete;

        /// Lists the thread, which is about to sleep, once. If the wait cannot end, gives up as many as it takes,
        /// and reports each.
        void enter();
        /// The thread goes on. The derived class calls this from its destructor at the latest.
        void leave();
        bool isListed() const { return m_isListed; }

    protected:
        ~Wait() = default;

    private:
        friend class WaitGraph;

        // Called with the graph's mutex held, in whatever thread.
        virtual Target target() const = 0;
        virtual bool canBeGivenUp() const = 0;
        // Lets the waiting thread take its task back, and its wait return.
        virtual void giveUp() = 0;

        bool m_isListed = false;  // the waiting thread's
        std::thread::id m_thread; // the graph's mutex guards this and the next
        const TaskWorker* m_worker = nullptr;
    };

    using Report = void (*)(const std::wstring& text);

    /// Has \p report called, with no lock held, for each wait that cannot end.
    static void reportBy(Report report);

private:
    struct Link;
    static Link linkOf(Wait& wait);
    static std::vector<Wait*> circleFrom(Wait& wait);
    static std::wstring describe(const std::vector<Wait*>& circle, const Wait* givenUp);
    static std::wstring nameOf(const Wait& wait);
    static std::wstring nameOf(const Target& target);
};

} // namespace Brennic::Core
