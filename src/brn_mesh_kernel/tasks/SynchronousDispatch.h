#pragma once
/// \file
/// Waits for tasks that nobody else waits for by `Task::waitTillFinished`. Not installed.
///
/// Such a wait may take its task back when nobody can run it any more. That would surprise a thread that shares
/// the task.

#include <functional>

namespace Brennic::Core {

class Task;
class TaskQueue;
class TaskWorker;

class SynchronousDispatch
{
public:
    /// Adds a task for \p function and waits for it. \return whether it has run; if not, it never will.
    /// Thread: any; blocks until then.
    static bool run(TaskQueue& queue, const std::function<void()>& function);

    /// Waits for \p task. In the GUI thread it runs a task \p isForGui that is pending.
    /// \return false if the task was taken back: it never runs.
    /// Thread: any; blocks until then.
    static bool wait(Task& task, bool isForGui);

    /// Ends the waits for \p task, which counts as finished from now on: if it is pending, it never runs, and if
    /// it is running, what is left of it is nothing to wait for.
    /// Thread: any.
    static void endWaits(Task& task);

    /// Counts the worker whose thread this is as waiting, whatever its thread waits for, so that others run
    /// what is pending behind it.
    class CountedAsWaiting
    {
    public:
        CountedAsWaiting();
        ~CountedAsWaiting();
        CountedAsWaiting(const CountedAsWaiting&) = delete;
        CountedAsWaiting& operator=(const CountedAsWaiting&) = delete;

    private:
        TaskWorker* m_worker; // null in other threads
    };
};

} // namespace Brennic::Core
