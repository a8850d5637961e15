#pragma once
/// \file
/// A callable with its run state, which a queue runs once and any thread can wait for.
///
///     auto task = std::make_shared<Brennic::Core::Task>([&] { smooth(mesh); });
///     Brennic::Core::TaskQueue::getGlobalQueue(Brennic::Core::eQOS_Normal)->addTask(task);
///     task->waitTillFinished();
///
/// `dispatchAsync` and `dispatchSync` (Dispatch.h) do this in one call.
///
/// Threads: every operation may be called from any thread. The callable runs without a lock held, in the
/// thread of the worker that claims the task.
///
/// Lifetime: a task is always owned by `std::shared_ptr`: by its queue while it is pending, by its worker
/// while it runs, and by whoever waits for it. It holds the queue that it was added to.

#include <cstdint>
#include <functional>
#include <memory>

#include <QObject>

#include <brn_mesh_kernel/library/Export.h>
#include <brn_mesh_kernel/objects/SharedObject.h>

namespace Brennic::Core {

class Task;
class TaskQueue;

} // namespace Brennic::Core

extern template class BRN_MESH_KERNEL_EXPORT Brennic::Objects::SharedObject<Brennic::Core::Task>;

namespace Brennic::Core {

/// A callable that is run once, and can be waited for.
class BRN_MESH_KERNEL_EXPORT Task : public QObject, public Objects::SharedObject<Task>
{
    Q_OBJECT

public:
    /// Where a task is between being made and having run.
    enum ETaskState : std::int32_t
    {
        /// The callable has not been run since it was assigned.
        ePending = 0,
        /// The callable is being run, or has left by an exception.
        eRunning = 1,
        /// The callable has returned.
        eFinished = 2,
    };

    /// Makes a pending task without a callable.
    /// Thread: any.
    Task();

    /// Makes a pending task that will run a copy of \p function.
    /// Thread: any.
    Task(const std::function<void()>& function); // NOLINT(google-explicit-constructor)

    /// Makes a pending task with a copy of the other task's callable; its state and queue are not copied.
    ///
    /// Reads the callable of \p other without a lock: nobody may assign to \p other meanwhile.
    /// Thread: any.
    Task(const Task& other);

    /// Releases the callable and the queue, which may end that queue.
    /// Thread: any.
    ~Task() override;

    /// Arms the task with a copy of \p function: a task that is not running becomes pending and can be run
    /// again. A running task is left as it is, and \p function is forgotten.
    /// Thread: any.
    Task& operator=(const std::function<void()>& function);

    /// The same with the callable of another task; assigning a finished task to itself arms it again.
    ///
    /// Reads the callable of \p other without a lock: nobody may assign to \p other meanwhile.
    /// Thread: any.
    Task& operator=(const Task& other);

    /// Returns the run state at this moment.
    /// Thread: any.
    ETaskState getTaskState();

    /// Runs the callable in the calling thread if the task is pending, and does nothing otherwise.
    ///
    /// An exception of the callable passes through, and so does the `std::bad_function_call` of a task
    /// without one: the task then stays `eRunning` for good and whoever waits for it waits for ever.
    /// Thread: any.
    void runTask();

    /// Blocks until the task has finished; returns at once if it has finished already.
    ///
    /// If the calling thread is that of a worker of the task's queue, or of a queue that is related to it by overflow,
    /// it counts as waiting meanwhile, also in a slot or a destructor of the host. Once all workers of a queue wait,
    /// its pending tasks move to an overflow queue: tasks may wait for tasks.
    ///
    /// The wait also ends if the task was never added to a queue and another thread runs it. If the task is queued after
    /// the wait began, the waiter is not counted as waiting; on a worker of that queue this can deadlock. While no worker
    /// can run the task, because the application object has gone or no overflow queue can be had, the caller runs it
    /// itself, unless it is for the GUI thread; docs/tasks.md has the whole rule. The GUI thread that waits for a task
    /// of its own queue waits until another thread runs it.
    /// Thread: any; blocks until the task has finished, without limit.
    void waitTillFinished();

private:
    friend class TaskQueue;
    friend struct TaskQueueCore;
    friend class SynchronousDispatch;
    class TaskImpl;
    class WaitingWorker;

    // Returns the queue that the caller is to release, with no lock held: the earlier one, or the one that a
    // running task does not take.
    std::shared_ptr<TaskQueue> setQueue(std::shared_ptr<TaskQueue> queue);
    // Withdrawing is for a caller that tells its own one: it returns false then, and the task is in no queue.
    bool waitOrWithdraw(bool mayWithdraw);
    bool waitForRunAfter(std::uint64_t runsBefore, bool mayWithdraw);
    void wakeWaiters();

    std::unique_ptr<TaskImpl> m_impl;
};

} // namespace Brennic::Core
