#include <brn_mesh_kernel/tasks/Task.h>

#include <atomic>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <thread>
#include <utility>

#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>

namespace Brennic::Core {

// The lock is not one of Qt's read-write locks: a thread that reads twice, or reads while it holds a queue's
// mutex, can stop for ever behind a waiting writer there. It is a leaf: nothing else is locked, no callable
// is run and nothing is released under it.
class Task::TaskImpl : public std::function<void()>
{
public:
    TaskImpl() = default;
    explicit TaskImpl(const std::function<void()>& function) : std::function<void()>(function) {}
    virtual ~TaskImpl() = default;

    std::function<void()>& function() { return *this; }

    ETaskState m_state = ePending; // this and what follows, and the callable, are guarded by m_lock
    std::mutex m_lock;
    std::condition_variable m_finishedCondition;
    std::shared_ptr<TaskQueue> m_queue;
    // How often the callable has returned. A wait ends with the run that it waited for, even if the task has
    // been armed again by then.
    std::atomic<std::uint64_t> m_finishedRuns{0};
    std::uint64_t m_wakeUps = 0;
    int m_waiters = 0;
};

// How often a waiting thread offers its core to others before it sleeps. A short task on another core is done before a
// thread has fallen asleep and has been woken; one on the same core needs the sleep.
constexpr int mostYields = 100;

// Counts the calling thread as waiting, if it is that of a worker of the task's family.
class Task::WaitingWorker
{
public:
    explicit WaitingWorker(const TaskQueue* queue) : m_worker(TaskWorker::current())
    {
        if (m_worker == nullptr || queue == nullptr || !queue->isFamilyOf(*m_worker))
            m_worker = nullptr;
        else
            TaskQueue::beginWait(*m_worker);
    }
    ~WaitingWorker()
    {
        if (m_worker != nullptr)
            TaskQueue::endWait(*m_worker);
    }
    WaitingWorker(const WaitingWorker&) = delete;
    WaitingWorker& operator=(const WaitingWorker&) = delete;

private:
    TaskWorker* m_worker; // stays as long as its thread does
};

Task::Task() : m_impl(std::make_unique<TaskImpl>()) {}

Task::Task(const std::function<void()>& function) : m_impl(std::make_unique<TaskImpl>(function)) {}

// NOLINTNEXTLINE(bugprone-copy-constructor-init): a QObject cannot be copied, and owners are not.
Task::Task(const Task& other)
    : SharedObjectInternal(),
      QObject(),
      SharedObject(),
      m_impl(std::make_unique<TaskImpl>(other.m_impl->function()))
{
}

Task::~Task() = default;

Task& Task::operator=(const std::function<void()>& function)
{
    // The copy is made, and the old callable destroyed, without the lock: both run the host's code.
    std::function<void()> callable = function;
    const std::lock_guard<std::mutex> lock(m_impl->m_lock);
    if (m_impl->m_state == eRunning)
        return *this;
    m_impl->function().swap(callable);
    m_impl->m_state = ePending;
    return *this;
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): assigning a task to itself arms it again.
Task& Task::operator=(const Task& other)
{
    return *this = other.m_impl->function();
}

Task::ETaskState Task::getTaskState()
{
    const std::lock_guard<std::mutex> lock(m_impl->m_lock);
    return m_impl->m_state;
}

void Task::runTask()
{
    {
        const std::lock_guard<std::mutex> lock(m_impl->m_lock);
        if (m_impl->m_state != ePending)
            return;
        m_impl->m_state = eRunning;
    }
    m_impl->function()();

    std::unique_lock<std::mutex> lock(m_impl->m_lock);
    m_impl->m_state = eFinished;
    ++m_impl->m_finishedRuns;
    if (m_impl->m_waiters == 0)
        return;
    // Woken under the lock, the waiters would run into it. But a waiter may destroy a task that nobody owns.
    const std::shared_ptr<SharedObjectInternal> self = weak_from_this().lock();
    if (self)
        lock.unlock();
    m_impl->m_finishedCondition.notify_all();
}

void Task::waitTillFinished()
{
    waitOrWithdraw(false);
}

bool Task::waitOrWithdraw(bool mayWithdraw)
{
    std::unique_lock<std::mutex> lock(m_impl->m_lock);
    if (m_impl->m_state == eFinished)
        return true;
    const std::uint64_t runsBefore = m_impl->m_finishedRuns;
    const std::shared_ptr<TaskQueue> queue = m_impl->m_queue;
    lock.unlock();

    // No lock is held: if the task finishes meanwhile, its run has been counted.
    const WaitingWorker waitingWorker(queue.get());
    const int yields = queue && queue->runsOnOtherCore() ? mostYields : 0;
    for (int i = 0; i < yields && m_impl->m_finishedRuns == runsBefore; ++i)
        std::this_thread::yield();
    return waitForRunAfter(runsBefore, mayWithdraw);
}

bool Task::waitForRunAfter(std::uint64_t runsBefore, bool mayWithdraw)
{
    std::uint64_t wakeUpsSeen = std::numeric_limits<std::uint64_t>::max();
    std::unique_lock<std::mutex> lock(m_impl->m_lock);
    while (m_impl->m_finishedRuns == runsBefore) {
        const std::shared_ptr<TaskQueue> queue = m_impl->m_queue;
        const bool isForGui = queue && queue->getQOS() == eQOS_GUI;
        const bool mustRun = queue && m_impl->m_state == ePending && queue->mustWaiterRunTasks();
        if (!mustRun || wakeUpsSeen == m_impl->m_wakeUps || (isForGui && !mayWithdraw)) {
            ++m_impl->m_waiters;
            m_impl->m_finishedCondition.wait(lock);
            --m_impl->m_waiters;
            continue;
        }
        wakeUpsSeen = m_impl->m_wakeUps;
        lock.unlock();
        const std::shared_ptr<Task> self = queue->findAndRemoveTask(this);
        if (self && isForGui)
            return false;
        if (self)
            self->runTask();
        lock.lock();
    }
    return true;
}

void Task::wakeWaiters()
{
    const std::lock_guard<std::mutex> lock(m_impl->m_lock);
    ++m_impl->m_wakeUps;
    m_impl->m_finishedCondition.notify_all();
}

std::shared_ptr<TaskQueue> Task::setQueue(std::shared_ptr<TaskQueue> queue)
{
    const std::lock_guard<std::mutex> lock(m_impl->m_lock);
    if (m_impl->m_state != eRunning)
        m_impl->m_queue.swap(queue);
    return queue;
}

} // namespace Brennic::Core

template class Brennic::Objects::SharedObject<Brennic::Core::Task>;

#include "moc_Task.cpp" // NOLINT(bugprone-suspicious-include)
