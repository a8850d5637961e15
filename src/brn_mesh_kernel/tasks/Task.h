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
/// Lifetime: a task that is added to a queue is owned by `std::shared_ptr`: the queue shares it while it is
/// pending, and the worker while it runs. Whoever waits for a task keeps a pointer of their own. The task
/// holds the queue that it was added to.
///
/// TaskQueue.h says who runs a task and in what order; docs/tasks.md follows one from `addTask` to its end.

#include <cstdint>
#include <functional>
#include <memory>

#include <QObject>

#include <brn_mesh_kernel/library/Export.h>
#include <brn_mesh_kernel/objects/SharedObject.h>

namespace Brennic::Core {

class Task;
class TaskQueue;
struct TaskWatch;

} // namespace Brennic::Core

extern template class BRN_MESH_KERNEL_EXPORT Brennic::Objects::SharedObject<Brennic::Core::Task>;

namespace Brennic::Core {

/// A callable that runs once, and can be waited for.
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
    /// again. A running task stays as it is, and \p function is dropped.
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
    /// Tasks may wait for tasks. A worker that waits for a task of its own queue, or of a queue that is
    /// related to it by overflow, counts as waiting, also in a slot or a destructor of the host. Once all
    /// workers of a queue wait, its pending tasks move to an overflow queue, which has a worker of its own.
    ///
    /// A task that is in no queue can be waited for too: the wait ends when some thread has run it. But if
    /// the task is queued after the wait began, the waiter is not counted as waiting; on a worker of that
    /// queue this can deadlock.
    ///
    /// While no worker can run the task, the caller runs it, unless it is for the GUI thread: the application
    /// object has gone, or no overflow queue can be made (docs/tasks.md has the whole rule). The GUI thread
    /// does not run a task of the GUI queue that it waits for: it waits until another thread does.
    /// Thread: any; blocks until the task has finished, without limit.
    void waitTillFinished();

    /// Takes the task back from its queue, if no worker has taken it yet. Its state stays `ePending`. Waits
    /// for it return, those that begin later too, until the task is added again or assigned to.
    ///
    /// \return false if the task is in no queue: it runs, has run, was never added, or is being added at this
    ///         moment.
    /// Thread: any. Ownership: releases the queue's share of the task, which may be the last one.
    bool cancel();

private:
    friend class TaskQueue;
    friend struct TaskQueueCore;
    friend class SynchronousDispatch;
    class TaskImpl;
    class WaitingWorker;

    // Returns the queue that the caller releases with no lock held, since that may destroy it: the earlier
    // queue, or \p queue if the task is running, which keeps the one it has.
    std::shared_ptr<TaskQueue> setQueue(std::shared_ptr<TaskQueue> queue);
    // Between the two calls the task is on its way into the queue that setQueue() has been told.
    void setBeingAdded(bool isBeingAdded);
    // Waits; returns whether the task has run. With mayWithdraw, a GUI task whose thread cannot run it any
    // more is removed from its queue, and the result is false: for a caller that nobody shares the task with.
    bool waitOrWithdraw(bool mayWithdraw, const TaskWatch* watch = nullptr);
    bool waitForEndAfter(std::uint64_t endsBefore, bool mayWithdraw, const TaskWatch* watch);
    // The task has finished: waits for it end. Does nothing if it has finished already.
    void endRun();
    // Lets waiting threads look again whether they must run the task themselves.
    void wakeWaiters();

    std::unique_ptr<TaskImpl> m_impl;
};

} // namespace Brennic::Core
