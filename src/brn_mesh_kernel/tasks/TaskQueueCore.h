#pragma once
/// \file
/// What a queue shares with its workers, which outlive it. Not installed.
///
/// Threads: every function may be called from any thread.

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include <xmmintrin.h>

#include <brn_mesh_kernel/tasks/EQualityOfService.h>
#include <brn_mesh_kernel/tasks/TaskScheduler.h>
#include <brn_mesh_kernel/tasks/WorkerThreads.h>

namespace Brennic::Core {

class Task;
class TaskWorker;

/// Something to run: a task, or a callable for which nobody needs a task.
struct TaskJob
{
    std::shared_ptr<Task> task;
    std::function<void()> function; // if there is no task

    explicit operator bool() const { return task || function; }
    void run();
};

/// Waits for a moment before it sleeps: going to sleep takes longer than a section of a scheduler. The pauses grow, so
/// that whoever holds the mutex keeps the cache line.
class SpinningMutex
{
public:
    void lock()
    {
        if (!spin())
            m_mutex.lock();
        m_isTaken.store(true, std::memory_order_relaxed);
    }
    void unlock()
    {
        m_isTaken.store(false, std::memory_order_relaxed);
        m_mutex.unlock();
    }

private:
    static constexpr int longestPause = 32;

    bool spin()
    {
        for (int pause = 1; pause <= longestPause; pause *= 2) {
            if (!m_isTaken.load(std::memory_order_relaxed) && m_mutex.try_lock())
                return true;
            for (int i = 0; i < pause; ++i)
                _mm_pause();
        }
        return false;
    }

    std::mutex m_mutex;
    std::atomic<bool> m_isTaken{false}; // a hint, so that those who try leave the mutex alone
};

struct TaskPlatform
{
    using Mutex = SpinningMutex;
    using Count = std::atomic<int>;
    static bool isOpen() { return WorkerThreads::areEventsDelivered(); }
};

using QueueScheduler = TaskScheduler<TaskPlatform, TaskJob>;

/// A queue, its overflow queues, theirs and so on. A worker that waits for a task of its family makes room.
struct TaskFamily
{
    static constexpr int mostOverflowQueues = 64;
    std::atomic<int> overflowQueues{0};
};

struct TaskQueueCore : std::enable_shared_from_this<TaskQueueCore>
{
    TaskQueueCore(EQualityOfService queueClass, std::shared_ptr<TaskFamily> queueFamily)
        : qos(queueClass), family(std::move(queueFamily))
    {
    }
    ~TaskQueueCore();
    TaskQueueCore(const TaskQueueCore&) = delete;
    TaskQueueCore& operator=(const TaskQueueCore&) = delete;

    /// Appends the job and notifies whoever is to run it; false if every worker waits, unless \p evenIfAllWait.
    bool add(TaskJob& job, bool evenIfAllWait = false);

    /// Posts the events of a section of the scheduler.
    void post(QueueScheduler::Notifications notifications);

    /// Lets the waits for the pending tasks look again at who is to run the task.
    void wakeWaiters();

    const EQualityOfService qos;
    const std::shared_ptr<TaskFamily> family;
    bool isOverflow = false;
    std::vector<TaskWorker*> workers; // this and the next are guarded by the mutex of WorkerThreads
    bool isQueueGone = false;
    TaskWorker* guiWorker = nullptr; // of the GUI queue, as long as that is there
    QueueScheduler scheduler;
    /// The core of the machine that a worker was last seen on.
    std::atomic<int> lastCore{-1};
    /// Whether somebody has connected to the queue's signal.
    std::atomic<bool> isArrivalObserved{false};
    /// Whether every worker waits and no overflow queue can be had: those who wait for a pending task run it.
    std::atomic<bool> isStranded{false};
};

} // namespace Brennic::Core
