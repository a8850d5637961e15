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
/// Tasks are begun in the order of arrival, each by the first worker that is free: a queue with one worker runs them
/// first in, first out. A worker is free while its thread waits for events, whatever the threads of the others do.
/// The host's own events in a worker's thread are delivered after the task that runs; tasks that are shorter may be
/// run in a row for a millisecond. In the GUI thread, tasks and queued events from one thread arrive in the order in
/// which that thread has posted them; only if more than a frame of tasks waits do events come first.
///
/// While no `QCoreApplication` exists, tasks are kept, and run once there is one.
///
/// Threads: every operation may be called from any thread.
///
/// Lifetime: a queue lives as long as a shared pointer to it: the caller's, or that of a task that was added
/// to it. Its worker threads end by themselves after it; a task that is running then is completed.

#include <functional>
#include <memory>

#include <QObject>

#include <brn_mesh_kernel/library/Export.h>
#include <brn_mesh_kernel/objects/SharedObject.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>

namespace Brennic::Core {

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
    /// \return the queue; with fewer workers if the system has no threads for more, and an empty pointer if it has none,
    ///         or for `eQOS_GUI`. Nothing is logged.
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

    /// Releases the pending tasks without running them, and lets the workers end.
    /// Thread: any; in practice that of whoever lets go of the last task.
    ~TaskQueue() override;

    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;

    /// Returns the service class.
    /// Thread: any.
    EQualityOfService getQOS() const;

    /// Returns the number of workers, which is how many tasks can run at the same time.
    /// Thread: any.
    int getMaxConcurrency() const;

    /// Adds a task at the end and announces it; an empty pointer is ignored.
    ///
    /// While every worker waits for a task of the queue, the task goes to a new overflow queue of the same class with
    /// one worker; once 64 of these exist, or the system has no thread, it stays, and whoever waits for it runs it. A
    /// task that is added to the GUI queue from the GUI thread has run when this returns, and an exception of its
    /// callable passes through.
    /// Thread: any. Ownership: the queue shares the task until a worker takes it.
    void addTask(std::shared_ptr<Task> task);

    /// Adds a callable at the end; an empty one is ignored. The cheap way to run what nobody waits for: a `Task` is
    /// made only if somebody listens to \ref newTaskArrived.
    ///
    /// Where it runs is as with \ref addTask. It does not hold the queue: what is pending when the queue ends is
    /// released without being run.
    /// Thread: any.
    void dispatch(std::function<void()> function);

    /// Whether somebody has ever connected to \ref newTaskArrived.
    /// Thread: any.
    bool isArrivalObserved() const;

protected:
    /// A task has been added. Emitted once per task, in the thread that adds it, with no lock held, and after a worker
    /// has been notified: what a slot does, also if it waits for the task or throws, keeps nobody from running it.
    ///
    /// \param pTask valid during the emission; another thread may have run the task already.
    Q_SIGNAL void newTaskArrived(Task* pTask); // NOLINT(readability-inconsistent-declaration-parameter-name)

    /// Called by Qt for each connection to a signal of the queue: records that \ref newTaskArrived is observed.
    /// Thread: the one that connects.
    void connectNotify(const QMetaMethod& signal) override;

private:
    friend class Task;
    friend class GlobalQueues;

    TaskQueue(EQualityOfService qos, int maxConcurrency, const std::shared_ptr<TaskFamily>& family);

    static std::shared_ptr<TaskQueue> createOverflowQueue(const TaskQueueCore& core);
    static void beginWait(TaskWorker& worker);
    static void endWait(TaskWorker& worker);
    bool isFamilyOf(const TaskWorker& worker) const;
    bool isGuiThread() const;
    bool mustWaiterRunTasks() const;
    bool runsOnOtherCore() const;
    std::shared_ptr<Task> findAndRemoveTask(Task* pTask);
    void addWhileAllWait(std::shared_ptr<Task> task);

    std::shared_ptr<TaskQueueCore> m_core;
};

} // namespace Brennic::Core
