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
/// Every worker of a queue hears of every task, in the order of arrival, and the first to claim it runs it:
/// a queue with one worker runs its tasks first in, first out. While no `QCoreApplication` exists, the tasks
/// of all classes but `eQOS_GUI` are kept, and run once there is one.
///
/// Threads: every operation may be called from any thread.
///
/// Lifetime: a queue lives as long as a shared pointer to it: the caller's, or that of a task that was added
/// to it. Its worker threads end by themselves after it; a task that is running then is completed.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include <QObject>

#include <brn_mesh_kernel/library/Export.h>
#include <brn_mesh_kernel/objects/SharedObject.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>

class QThread;

namespace Brennic::Core {

class Task;
class TaskQueue;
class TaskWorker;
struct Announcement;

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
    /// \return the queue, or an empty pointer for `eQOS_GUI`; nothing is logged.
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

    /// Adds a task at the end and announces it to the workers; an empty pointer is ignored.
    ///
    /// While every worker waits inside a task, the task goes to a new overflow queue of the same class with
    /// one worker. A task that is added to the GUI queue from the GUI thread has run when this returns, and
    /// an exception of its callable passes through.
    /// Thread: any. Ownership: the queue shares the task until a worker claims it.
    void addTask(std::shared_ptr<Task> task);

protected:
    /// A task has been added. Emitted once per task, in the thread that adds it and with no lock held.
    ///
    /// \param pTask only an address: another thread may have run and released the task already.
    Q_SIGNAL void newTaskArrived(Task* pTask); // NOLINT(readability-inconsistent-declaration-parameter-name)

private:
    friend class Task;
    friend class TaskWorker;
    friend class GlobalQueues;

    TaskQueue(EQualityOfService qos, int maxConcurrency);

    std::shared_ptr<Task> findAndRemoveTask(Task* pTask);
    std::shared_ptr<Task> findAndRemoveTask(const Announcement& announcement);
    void pauseWorkerInThread(QThread* thread);
    void resumeWorkerInThread(QThread* thread);
    bool areAllWorkersPaused() const;

    void addWorker();
    std::shared_ptr<TaskQueue> makeOverflowQueue() const;
    bool isRelatedTo(const TaskQueue& other) const;
    bool hasPendingTasks() const;
    TaskWorker* workerToNotify() const;
    void notifyWorker();
    void setWorkerPaused(QThread* thread, bool isPaused);
    bool appendTask(const std::shared_ptr<TaskQueue>& self, const std::shared_ptr<Task>& task,
                    std::uint64_t& ticket);
    std::shared_ptr<Task> takeOldestTask();
    std::shared_ptr<Task> takeTaskLocked(std::size_t index);
    void forgetTakenTasksLocked();
    std::vector<std::shared_ptr<Task>> pendingTasks();
    static std::uint64_t announcedTicket();

    EQualityOfService m_qos;
    std::uint64_t m_family; // the same for a queue, its overflow queues, theirs and so on
    std::vector<TaskWorker*> m_workers;
    // In the order of arrival. What has been taken leaves an empty pointer until the oldest go together.
    std::vector<std::shared_ptr<Task>> m_tasks;
    std::mutex m_mutex; // guards m_tasks and changes of what follows
    std::size_t m_oldest = 0;
    std::uint64_t m_firstTicket = 1;
    // The tickets of the oldest pending task and of the next that is added; equal if none is pending.
    std::atomic<std::uint64_t> m_oldestTicket{1};
    std::atomic<std::uint64_t> m_nextTicket{1};
};

} // namespace Brennic::Core
