#include <brn_mesh_kernel/tasks/Task.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <thread>
#include <utility>

#include <brn_mesh_kernel/tasks/SynchronousDispatch.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/TaskQueueCore.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>
#include <brn_mesh_kernel/tasks/WaitGraph.h>

namespace Brennic::Core {

// m_lock is a plain mutex, because QReadWriteLock lets a waiting writer go before new readers: a thread that
// reads twice could stop for ever behind one. It is a leaf: under it nothing else is locked, no callable runs
// and nothing is released, since a destructor of the host may come back to this task.
class Task::TaskImpl : public std::function<void()>
{
public:
    TaskImpl() = default;
    explicit TaskImpl(const std::function<void()>& function) : std::function<void()>(function) {}
    virtual ~TaskImpl() = default;

    std::function<void()>& function() { return *this; }

    // The task was taken out of its queue: waits for it end.
    void endCancelled()
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        ++m_ends;
        ++m_cancellations;
        m_isCancelled = true;
        m_finishedCondition.notify_all();
    }

    class Wait;

    ETaskState m_state = ePending; // m_lock guards this, what follows, and the callable while it does not run
    std::mutex m_lock;
    std::condition_variable m_finishedCondition;
    std::shared_ptr<TaskQueue> m_queue;
    std::thread::id m_runner; // the thread that runs the callable, or ran it last
    // How often the callable has returned or the task was cancelled. Waits compare it instead of the state:
    // they end with the run that they waited for, even if the task has been armed again by then.
    std::atomic<std::uint64_t> m_ends{0};
    std::uint64_t m_cancellations = 0; // how many of m_ends
    bool m_isCancelled = false;        // and not added or assigned to since
    bool m_isBeingAdded = false;       // by a thread that may yet find another queue for it
    bool m_isGivenUp = false;          // a wait of whoever may withdraw the task cannot end
    std::uint64_t m_wakeUps = 0;       // calls of wakeWaiters()
    int m_waiters = 0;                 // threads that sleep: without any, the end of a run notifies nobody
};

// A wait for the task. Only whoever may withdraw the task has it to themselves: a pending task that is shared may
// be run or taken back by a thread that nobody knows of, which ends the wait.
class Q_DECL_HIDDEN Task::TaskImpl::Wait final : public WaitGraph::Wait
{
public:
    Wait(TaskImpl& task, std::uint64_t endsBefore, bool mayWithdraw, const TaskWatch* watch)
        : m_task(task), m_endsBefore(endsBefore), m_mayWithdraw(mayWithdraw), m_watch(watch)
    {
    }
    ~Wait() { leave(); }

private:
    WaitGraph::Target target() const override
    {
        const std::lock_guard<std::mutex> lock(m_task.m_lock);
        if (m_task.m_ends != m_endsBefore || (m_mayWithdraw && m_task.m_isGivenUp))
            return {};
        if (m_watch != nullptr && m_watch->isOver())
            return {};
        if (m_task.m_state == eRunning)
            return {WaitGraph::Target::Running, {m_task.m_runner}, nullptr};
        if (!isOwnAndPending() || m_task.m_queue->mustWaiterRunTasks())
            return {};
        if (m_watch != nullptr && m_watch->isCancelled()) // the waiting thread will take the task back
            return {};
        return {WaitGraph::Target::Pending, {}, m_task.m_queue->m_core};
    }
    bool canBeGivenUp() const override
    {
        const std::lock_guard<std::mutex> lock(m_task.m_lock);
        return isOwnAndPending();
    }
    void giveUp() override
    {
        const std::lock_guard<std::mutex> lock(m_task.m_lock);
        m_task.m_isGivenUp = true;
        m_task.m_finishedCondition.notify_all();
    }
    bool isOwnAndPending() const
    {
        return m_mayWithdraw && m_task.m_state == ePending && m_task.m_queue && !m_task.m_isBeingAdded;
    }

    TaskImpl& m_task;
    const std::uint64_t m_endsBefore;
    const bool m_mayWithdraw;
    const TaskWatch* const m_watch; // may be null
};

// How often a waiting thread yields before it sleeps. Falling asleep and being woken takes longer than a
// short task, so a worker on another core often finishes first. One on the waiter's own core needs that core:
// then there are none.
constexpr int mostYields = 100;

// How often a thread that waits for a task looks at what nobody notifies it of. What is over when it looks is
// followed by the end of the task at once, as a rule, and that notifies: so it looks once more.
constexpr std::chrono::milliseconds lookTime{10};
constexpr int looksAfterEnd = 2;

// Counts the calling thread as waiting, if its worker is one of those that could run the task: its place must
// be taken, or the task might stay behind it for ever.
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
    TaskWorker* m_worker; // lives as long as the calling thread
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
    // Copying, and destroying the old callable, runs the host's code: both happen without the lock.
    std::function<void()> callable = function;
    const std::lock_guard<std::mutex> lock(m_impl->m_lock);
    if (m_impl->m_state == eRunning)
        return *this;
    m_impl->function().swap(callable);
    m_impl->m_state = ePending;
    m_impl->m_isCancelled = false;
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
        m_impl->m_runner = std::this_thread::get_id();
    }
    m_impl->function()(); // if it throws, the state stays eRunning: nobody can say what the callable has done
    endRun();
}

void Task::endRun()
{
    std::unique_lock<std::mutex> lock(m_impl->m_lock);
    if (m_impl->m_state == eFinished)
        return;
    m_impl->m_state = eFinished;
    ++m_impl->m_ends;
    if (m_impl->m_waiters == 0)
        return;
    // Unlock before notifying, or the woken threads contend for the lock. A waiter may destroy the task as
    // soon as the lock is free, so that takes a pointer that keeps it; a task that none owns is notified
    // under the lock.
    const std::shared_ptr<SharedObjectInternal> self = weak_from_this().lock();
    if (self)
        lock.unlock();
    m_impl->m_finishedCondition.notify_all();
}

void Task::waitTillFinished()
{
    waitOrWithdraw(false);
}

bool Task::waitOrWithdraw(bool mayWithdraw, const TaskWatch* watch)
{
    std::unique_lock<std::mutex> lock(m_impl->m_lock);
    if (m_impl->m_state == eFinished || m_impl->m_isCancelled)
        return m_impl->m_state == eFinished;
    const std::uint64_t endsBefore = m_impl->m_ends;
    const std::uint64_t cancellationsBefore = m_impl->m_cancellations;
    const std::shared_ptr<TaskQueue> queue = m_impl->m_queue;
    lock.unlock();

    // Unlocked, because counting the worker as waiting may move tasks to another queue. If the task ends
    // meanwhile, m_ends differs from endsBefore, and the wait returns.
    const WaitingWorker waitingWorker(queue.get());
    const int yields = queue && queue->runsOnOtherCore() ? mostYields : 0;
    for (int i = 0; i < yields && m_impl->m_ends == endsBefore; ++i)
        std::this_thread::yield();
    const bool hasEnded = waitForEndAfter(endsBefore, mayWithdraw, watch);
    lock.lock();
    return hasEnded && m_impl->m_cancellations == cancellationsBefore;
}

// Sleeps until the task has ended, or runs it here if no worker can. It looks for the task in the queue once
// for each call of wakeWaiters(): if it is not there, somebody else has taken it, and the end of that run
// notifies.
bool Task::waitForEndAfter(std::uint64_t endsBefore, bool mayWithdraw, const TaskWatch* watch)
{
    std::uint64_t wakeUpsSeen = std::numeric_limits<std::uint64_t>::max();
    TaskImpl::Wait wait(*m_impl, endsBefore, mayWithdraw, watch);
    int looksSinceOver = 0;
    bool wasBeingAdded = false;
    std::unique_lock<std::mutex> lock(m_impl->m_lock);
    while (m_impl->m_ends == endsBefore) {
        const std::shared_ptr<TaskQueue> queue = m_impl->m_queue;
        const bool isForGui = queue && queue->getQOS() == eQOS_GUI;
        const bool mustRun = queue && m_impl->m_state == ePending && queue->mustWaiterRunTasks();
        const bool isGivenUp = mayWithdraw && m_impl->m_isGivenUp;
        if (!isGivenUp && (!mustRun || wakeUpsSeen == m_impl->m_wakeUps || (isForGui && !mayWithdraw))) {
            if (wait.isListed() && (!wasBeingAdded || m_impl->m_isBeingAdded)) {
                const bool isPending = m_impl->m_state == ePending;
                ++m_impl->m_waiters;
                if (watch != nullptr)
                    m_impl->m_finishedCondition.wait_for(lock, lookTime);
                else
                    m_impl->m_finishedCondition.wait(lock);
                --m_impl->m_waiters;
                if (watch != nullptr && m_impl->m_ends == endsBefore) {
                    lock.unlock();
                    if (watch->isOver() && ++looksSinceOver == looksAfterEnd)
                        return true;
                    if (isPending && watch->isCancelled())
                        watch->takeBack();
                    lock.lock();
                }
            } else {
                wasBeingAdded = m_impl->m_isBeingAdded; // then look again whether the wait can end
                lock.unlock();                          // this lock is taken under the graph's mutex
                wait.leave();
                wait.enter();
                lock.lock();
            }
            continue;
        }
        wakeUpsSeen = m_impl->m_wakeUps;
        lock.unlock(); // the queue's mutex is never taken under this one, nor the graph's
        wait.leave();
        const std::shared_ptr<Task> self = queue->findAndRemoveTask(this);
        if (self && (isForGui || isGivenUp)) {
            m_impl->endCancelled();
            return false;
        }
        if (self)
            self->runTask();
        lock.lock();
        m_impl->m_isGivenUp = false; // if it was, somebody else has taken the task
    }
    return true;
}

bool Task::cancel()
{
    std::unique_lock<std::mutex> lock(m_impl->m_lock);
    const std::shared_ptr<TaskQueue> queue = m_impl->m_queue;
    lock.unlock();
    // Whoever takes the task out of its queue decides: here no worker can run it any more.
    const std::shared_ptr<Task> self = queue ? queue->findAndRemoveTask(this) : nullptr;
    if (!self)
        return false;
    m_impl->endCancelled();
    return true;
}

void Task::setBeingAdded(bool isBeingAdded)
{
    const std::lock_guard<std::mutex> lock(m_impl->m_lock);
    m_impl->m_isBeingAdded = isBeingAdded;
    if (m_impl->m_waiters > 0)
        m_impl->m_finishedCondition.notify_all();
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
    m_impl->m_isCancelled = false;
    if (m_impl->m_state != eRunning)
        m_impl->m_queue.swap(queue);
    return queue;
}

} // namespace Brennic::Core

template class Brennic::Objects::SharedObject<Brennic::Core::Task>;

#include "moc_Task.cpp" // NOLINT(bugprone-suspicious-include)
