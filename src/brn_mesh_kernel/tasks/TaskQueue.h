#pragma once
/// \file
/// Pending tasks of one service class, and the workers that run them.
///
///     using namespace Brennic::Core;
///     std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 2);
///     auto task = std::make_shared<Task>([] { decimate(); });
///     queue->addTask(task);
///     task->waitTillFinished();
///
/// Tasks begin in the order of arrival, each on the first worker that is free: a queue with one worker runs
/// them first in, first out. A worker is free while its thread waits for events, whatever the threads of the
/// others do.
///
/// A worker's thread delivers the host's own events between tasks: after a task that takes a millisecond or
/// more, or after shorter ones that have run in a row for so long. In the GUI thread, tasks and events that
/// one thread has posted arrive in the order of posting; only if the pending tasks would take more than a
/// frame do events come first.
///
/// While no `QCoreApplication` exists, tasks stay pending; they run once there is one.
///
/// Threads: every operation may be called from any thread.
///
/// Lifetime: shared pointers keep a queue: those of callers, and one in each task that was added to it. Its
/// worker threads end by themselves after it; a task that is running then is completed.

#include <functional>
#include <memory>

#include <QObject>

#include <brn_mesh_kernel/library/Export.h>
#include <brn_mesh_kernel/objects/SharedObject.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>

namespace Brennic::Core {

class ParallelLoop;
class Task;
class TaskQueue;
class TaskWorker;
struct TaskFamily;
struct TaskQueueCore;

} // namespace Brennic::Core

extern template class BRN_MESH_KERNEL_EXPORT Brennic::Objects::SharedObject<Brennic::Core::TaskQueue>;

namespace Brennic::Core {

/// Runs tasks on workers of one service class.
class BRN_MESH_KERNEL_EXPORT TaskQueue : public QObject, public Objects::SharedObject<TaskQueue>
{
    Q_OBJECT

public:
    /// Makes a queue with its workers, each in a thread of its own.
    ///
    /// \param qos the service class; for `eQOS_GUI`, whose only queue is the library's, no queue is made.
    /// \param maxConcurrency the number of workers; less than 1 takes one less than the machine runs threads
    ///        at a time, and at least one.
    /// \return the queue; with fewer workers if the system has no threads for more, and an empty pointer if
    ///         it has none, or for `eQOS_GUI`. Nothing is logged.
    /// Thread: any. Ownership: the caller owns the queue together with the tasks that are added to it.
    static std::shared_ptr<TaskQueue> createQueue(EQualityOfService qos, int maxConcurrency);

    /// Returns the library's queue of a service class.
    ///
    /// \return null for a value that is no service class, and once the library ends with the process.
    /// Thread: any. Ownership: stays with the library.
    static TaskQueue* getGlobalQueue(EQualityOfService qos);

    /// Returns the library's queue whose tasks run in the GUI thread.
    ///
    /// \return null once the library ends with the process.
    /// Thread: any. Ownership: stays with the library.
    static TaskQueue* getGUIQueue();

    /// Releases what is pending without running it, and lets the workers end. A pending task holds the queue
    /// that it was added to last, so this is hardly ever more than callables of \ref dispatch.
    /// Thread: any; often that of a worker, which releases the last task.
    ~TaskQueue() override;

    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;

    /// Returns the service class.
    /// Thread: any.
    EQualityOfService getQOS() const;

    /// Returns the number of workers, which is how many tasks can run at the same time.
    /// Thread: any.
    int getMaxConcurrency() const;

    /// Appends a task, notifies a worker and emits \ref newTaskArrived; an empty pointer is ignored.
    ///
    /// While every worker waits for a task of the queue, none would run it: the task goes to a new overflow
    /// queue of the same class with one worker. Once 64 of these exist, or the system has no thread for one
    /// more, the task stays, and whoever waits for it runs it.
    ///
    /// A task that is added to the GUI queue from the GUI thread has run when this returns, ahead of those
    /// that are pending; an exception of its callable passes through.
    /// Thread: any. Ownership: the queue shares the task until a worker takes it.
    void addTask(std::shared_ptr<Task> task);

    /// Appends a callable; an empty one is ignored. This is cheaper than \ref addTask where nobody waits: a
    /// `Task` is made only if \ref isArrivalObserved, or for an overflow queue.
    ///
    /// It runs where \ref addTask would have it run. It does not hold the queue: what is pending when the
    /// queue is destroyed is released without being run.
    /// Thread: any.
    void dispatch(std::function<void()> function);

    /// Whether somebody has ever connected to \ref newTaskArrived.
    /// Thread: any.
    bool isArrivalObserved() const;

protected:
    /// A task has been added. Emitted once per task, in the thread that adds it, with no lock held. A worker
    /// has been notified before: a slot that waits for the task, or throws, keeps nobody from running it.
    ///
    /// \param pTask valid during the emission; a worker may have run the task already.
    Q_SIGNAL void newTaskArrived(Task* pTask); // NOLINT(readability-inconsistent-declaration-parameter-name)

    /// Called by Qt for each connection to a signal of the queue: notes that \ref newTaskArrived is observed.
    /// Thread: the one that connects.
    void connectNotify(const QMetaMethod& signal) override;

private:
    friend class Task;
    friend class GlobalQueues;
    friend class ParallelLoop;
    friend class SynchronousDispatch;

    TaskQueue(EQualityOfService qos, int maxConcurrency, const std::shared_ptr<TaskFamily>& family);

    static std::shared_ptr<TaskQueue> createOverflowQueue(const TaskQueueCore& core);
    static void beginWait(TaskWorker& worker);
    static void endWait(TaskWorker& worker);
    // The same for a wait for what is no task: its end may depend on whatever is pending in the family.
    static void beginOtherWait(TaskWorker& worker);
    static void endOtherWait(TaskWorker& worker);
    static void makeRoom(TaskQueueCore& core);
    static bool movePending(TaskQueueCore& core);
    bool isFamilyOf(const TaskWorker& worker) const;
    bool isGuiThread() const;
    bool mustWaiterRunTasks() const;
    bool runsOnOtherCore() const;
    std::shared_ptr<Task> findAndRemoveTask(Task* pTask);
    void addWhileAllWait(std::shared_ptr<Task> task);

    std::shared_ptr<TaskQueueCore> m_core; // what the workers share and keep beyond the queue's end
};

} // namespace Brennic::Core
