#pragma once
/// \file
/// Waits for tasks that nobody else waits for by `Task::waitTillFinished`. Not installed.
///
/// Such a wait may take its task back when nobody can run it any more. That would surprise a thread that shares
/// the task.

#include <functional>
#include <memory>

namespace Brennic::Core {

class Task;
class TaskQueue;
class TaskWorker;

/// What a thread that waits for a task looks at besides, from time to time: nobody notifies it of these.
struct TaskWatch
{
    /// Whether the task is to be taken back if it is pending. Called in any thread, and under locks.
    std::function<bool()> isCancelled;
    /// Takes back a pending task that is cancelled, if nobody else has. Called with no lock held, by the thread
    /// that waits, which does not count as asleep then.
    std::function<void()> takeBack;
    /// Whether what the task is for has come, so that the wait is over before the task has ended. Called in any
    /// thread, and under locks.
    std::function<bool()> isOver;
};

class SynchronousDispatch
{
public:
    /// Adds a task for \p function and waits for it. \return whether it has run; if not, it never will.
    /// Thread: any; blocks until then.
    static bool run(TaskQueue& queue, const std::function<void()>& function);

    /// Says that \p task will be added to \p queue, by \ref add, so that other threads may wait for it from now
    /// on: a worker of the queue must count as waiting before the task is added, or it would stay behind it.
    /// Thread: any.
    static void announce(Task& task, std::shared_ptr<TaskQueue> queue);

    /// Adds a task that was announced. What the queue throws passes through; the task may be pending then.
    /// Thread: any.
    static void add(TaskQueue& queue, const std::shared_ptr<Task>& task);

    /// Waits for \p task. In the GUI thread it runs a task \p isForGui that is pending. \p watch may be null.
    /// \return false if the task was taken back: it never runs.
    /// Thread: any; blocks until then.
    static bool wait(Task& task, bool isForGui, const TaskWatch* watch = nullptr);

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
