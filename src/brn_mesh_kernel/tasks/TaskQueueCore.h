#pragma once
/// \file
/// The part of a queue that its workers share. They outlive the queue, since it is often a worker that
/// destroys it, and keep the core. Not installed.
///
/// Read first `TaskQueueCore::add`, by which every pending task gets here, and `TaskWorker::event`, which
/// runs it.
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

/// What a queue runs: a task, or a callable for which nobody has asked for a task, which saves making one.
struct TaskJob
{
    std::shared_ptr<Task> task;
    std::function<void()> function; // if there is no task

    explicit operator bool() const { return task || function; }
    void run();
};

/// Spins briefly before it sleeps, since a section of a scheduler takes less time than falling asleep. The
/// pauses grow, so that those who contend leave the cache line to the thread that holds the mutex.
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
    std::atomic<bool> m_isTaken{false}; // a hint: reading it disturbs the holder less than trying the mutex
};

struct TaskPlatform
{
    using Mutex = SpinningMutex;
    using Count = std::atomic<int>;
    static bool isOpen() { return WorkerThreads::areEventsDelivered(); }
};

using QueueScheduler = TaskScheduler<TaskPlatform, TaskJob>;

/// What a queue shares with its overflow queues, theirs and so on. A worker that waits for a task of its
/// family counts as waiting; otherwise a queue could wait for its overflow queue, and that one for the queue.
struct TaskFamily
{
    static constexpr int mostOverflowQueues = 64;
    std::atomic<int> overflowQueues{0};
    /// Waits of workers for what is no task. They cannot run what is pending in place of an overflow queue, so
    /// there is no limit meanwhile.
    std::atomic<int> otherWaits{0};
    /// Whether any of the queues has ever been stranded; see TaskQueueCore.
    std::atomic<bool> hasBeenStranded{false};
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

    /// Appends \p job and notifies a worker. \return false, with \p job as it was, if every worker waits; not
    /// with \p evenIfAllWait.
    bool add(TaskJob& job, bool evenIfAllWait = false);

    /// Posts the events of the workers that a section of the scheduler has notified. Called with no lock
    /// held.
    void post(QueueScheduler::Notifications notifications);

    /// Has each thread that waits for a pending task look again whether it must run the task itself.
    void wakeWaiters();

    void setStranded()
    {
        family->hasBeenStranded = true; // first: whoever reads it reads the other afterwards
        isStranded = true;
    }

    const EQualityOfService qos;
    const std::shared_ptr<TaskFamily> family;
    bool isOverflow = false;
    std::vector<TaskWorker*> workers; // the mutex of WorkerThreads guards this and the next
    bool isQueueGone = false;
    TaskWorker* guiWorker = nullptr; // of the GUI queue, as long as that exists
    QueueScheduler scheduler;
    /// The core of the machine on which a worker ran last: tells a waiting thread whether to yield or to
    /// sleep.
    std::atomic<int> lastCore{-1};
    /// Whether somebody has ever connected to `newTaskArrived`.
    std::atomic<bool> isArrivalObserved{false};
    /// Whether every worker waits and no overflow queue can be made: whoever waits for a pending task runs
    /// it.
    std::atomic<bool> isStranded{false};
    /// Helpers of loops that are pending. Loops inside tasks begin and end while no worker is free, and would
    /// pile them up.
    std::atomic<int> pendingHelpers{0};
};

} // namespace Brennic::Core
