#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include <QThread>

#include <brn_mesh_kernel/tasks/Announcement.h>
#include <brn_mesh_kernel/tasks/ApplicationGate.h>
#include <brn_mesh_kernel/tasks/GlobalQueues.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>

namespace Brennic::Core {

namespace {

// A longer list is given back once it has been emptied.
constexpr std::size_t largestKeptList = 4096;

// The fewest taken tasks that are worth moving the others for.
constexpr std::size_t fewestForgotten = 64;

// The ticket of the task that the calling thread announces: the signal carries the address alone, and an
// address is used again for another task before every worker has looked.
thread_local std::uint64_t t_announcedTicket = 0;

class AnnouncedTicket
{
public:
    explicit AnnouncedTicket(std::uint64_t ticket) : m_outer(std::exchange(t_announcedTicket, ticket)) {}
    ~AnnouncedTicket() { t_announcedTicket = m_outer; }
    AnnouncedTicket(const AnnouncedTicket&) = delete;
    AnnouncedTicket& operator=(const AnnouncedTicket&) = delete;

private:
    std::uint64_t m_outer; // of an announcement inside which this one is made
};

std::uint64_t newFamily()
{
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

int workerCount(EQualityOfService qos, int maxConcurrency)
{
    if (qos == eQOS_GUI)
        return 1;
    return maxConcurrency < 1 ? std::max(1, QThread::idealThreadCount() - 1) : maxConcurrency;
}

} // namespace

TaskQueue::TaskQueue(EQualityOfService qos, int maxConcurrency) : m_qos(qos), m_family(newFamily())
{
    const int count = workerCount(qos, maxConcurrency);
    m_workers.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        addWorker();
}

void TaskQueue::addWorker()
{
    auto* const worker = new TaskWorker(this); // deletes itself after retire()
    // Direct, in the thread that adds the task: the worker's inbox brings the news to the worker's thread.
    connect(this, &TaskQueue::newTaskArrived, worker, &TaskWorker::hear, Qt::DirectConnection);
    m_workers.push_back(worker);
}

TaskQueue::~TaskQueue()
{
    for (TaskWorker* worker : m_workers) {
        disconnect(this, &TaskQueue::newTaskArrived, worker, &TaskWorker::hear);
        worker->loseQueue();
    }
    // After all have lost the queue: until then each may notify another. And not on a signal of the queue: the
    // worker may be deleted in its thread before this returns, in the middle of the signal's list of receivers.
    for (TaskWorker* worker : m_workers)
        worker->retire();
}

std::shared_ptr<TaskQueue> TaskQueue::createQueue(EQualityOfService qos, int maxConcurrency)
{
    if (qos == eQOS_GUI)
        return {};
    return std::shared_ptr<TaskQueue>(new TaskQueue(qos, maxConcurrency));
}

std::shared_ptr<TaskQueue> TaskQueue::makeOverflowQueue() const
{
    std::shared_ptr<TaskQueue> overflow = createQueue(m_qos, 1);
    overflow->m_family = m_family;
    return overflow;
}

bool TaskQueue::isRelatedTo(const TaskQueue& other) const
{
    return m_family == other.m_family;
}

TaskQueue* TaskQueue::getGlobalQueue(EQualityOfService qos)
{
    return GlobalQueues::find(qos);
}

TaskQueue* TaskQueue::getGUIQueue()
{
    return getGlobalQueue(eQOS_GUI);
}

EQualityOfService TaskQueue::getQOS() const
{
    return m_qos;
}

int TaskQueue::getMaxConcurrency() const
{
    return static_cast<int>(m_workers.size());
}

void TaskQueue::addTask(std::shared_ptr<Task> task)
{
    if (!task)
        return;
    // Both stay until the announcement has been made, even if the task has run and released them by then.
    const std::shared_ptr<TaskQueue> self(weak_from_this().lock(), this);
    std::uint64_t ticket = 0;
    if (!appendTask(self, task, ticket)) {
        makeOverflowQueue()->addTask(std::move(task));
        return;
    }
    {
        const AnnouncedTicket announced(ticket);
        Q_EMIT newTaskArrived(task.get());
    }
    notifyWorker();
    if (!ApplicationGate::isOpen())
        task->wakeWaiters();
}

// Refuses the task if every worker waits. That is tested under the mutex: a worker that begins to wait after
// the test finds the task, as it takes the mutex to look for pending ones.
bool TaskQueue::appendTask(const std::shared_ptr<TaskQueue>& self, const std::shared_ptr<Task>& task,
                           std::uint64_t& ticket)
{
    std::shared_ptr<TaskQueue> earlierQueue; // released after the mutex, since it may end
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_qos != eQOS_GUI && areAllWorkersPaused())
        return false;
    earlierQueue = task->setQueue(self);
    ticket = m_firstTicket + m_tasks.size();
    m_tasks.push_back(task);
    m_nextTicket.store(ticket + 1, std::memory_order_release);
    return true;
}

bool TaskQueue::hasPendingTasks() const
{
    return m_oldestTicket < m_nextTicket;
}

// An idle worker, unless one has been notified and has yet to begin: that one will notify the next. A worker
// that is found active looks into its inbox again before it becomes idle.
TaskWorker* TaskQueue::workerToNotify() const
{
    TaskWorker* idle = nullptr;
    for (TaskWorker* worker : m_workers) {
        const TaskWorker::State state = worker->state();
        if (state == TaskWorker::State::Notified)
            return nullptr;
        if (state == TaskWorker::State::Idle && idle == nullptr)
            idle = worker;
    }
    return idle;
}

void TaskQueue::notifyWorker()
{
    TaskWorker* const worker = workerToNotify();
    if (worker != nullptr && hasPendingTasks())
        worker->notify();
}

std::uint64_t TaskQueue::announcedTicket()
{
    return t_announcedTicket;
}

std::shared_ptr<Task> TaskQueue::findAndRemoveTask(Task* pTask)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto oldest = m_tasks.begin() + static_cast<std::ptrdiff_t>(m_oldest);
    const auto found = std::find_if(oldest, m_tasks.end(), [pTask](const std::shared_ptr<Task>& task) {
        return task && task.get() == pTask;
    });
    if (found == m_tasks.end())
        return {};
    return takeTaskLocked(static_cast<std::size_t>(found - m_tasks.begin()));
}

std::shared_ptr<Task> TaskQueue::findAndRemoveTask(const Announcement& announcement)
{
    if (announcement.ticket == 0)
        return findAndRemoveTask(announcement.task);
    if (announcement.ticket < m_oldestTicket)
        return {}; // the common case with several workers, and no reason to stop others
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::uint64_t index = announcement.ticket - m_firstTicket; // huge if it was forgotten long ago
    if (index >= m_tasks.size() || !m_tasks[index])
        return {};
    return takeTaskLocked(index);
}

std::shared_ptr<Task> TaskQueue::takeOldestTask()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_tasks.empty())
        return {};
    return takeTaskLocked(m_oldest);
}

std::shared_ptr<Task> TaskQueue::takeTaskLocked(std::size_t index)
{
    std::shared_ptr<Task> task = std::move(m_tasks[index]);
    while (m_oldest < m_tasks.size() && !m_tasks[m_oldest])
        ++m_oldest;
    m_oldestTicket.store(m_firstTicket + m_oldest, std::memory_order_release);
    forgetTakenTasksLocked();
    return task;
}

// Moves the pending tasks to the front only once as many have been taken: constant cost per task.
void TaskQueue::forgetTakenTasksLocked()
{
    const bool isEmpty = m_oldest == m_tasks.size();
    if (!isEmpty && (m_oldest < fewestForgotten || m_oldest < m_tasks.size() / 2))
        return;
    m_firstTicket += m_oldest;
    if (isEmpty && m_tasks.capacity() > largestKeptList)
        std::vector<std::shared_ptr<Task>>().swap(m_tasks);
    else
        m_tasks.erase(m_tasks.begin(), m_tasks.begin() + static_cast<std::ptrdiff_t>(m_oldest));
    m_oldest = 0;
}

std::vector<std::shared_ptr<Task>> TaskQueue::pendingTasks()
{
    std::vector<std::shared_ptr<Task>> tasks;
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::copy_if(m_tasks.begin(), m_tasks.end(), std::back_inserter(tasks),
                 [](const std::shared_ptr<Task>& task) { return task != nullptr; });
    return tasks;
}

void TaskQueue::pauseWorkerInThread(QThread* thread)
{
    setWorkerPaused(thread, true);
    if (m_qos == eQOS_GUI)
        return; // no other thread may run these: they stay, in order, until the GUI thread is back
    std::shared_ptr<TaskQueue> overflow;
    while (areAllWorkersPaused()) {
        std::shared_ptr<Task> task = takeOldestTask();
        if (!task)
            return;
        if (!overflow)
            overflow = makeOverflowQueue();
        overflow->addTask(std::move(task));
    }
}

void TaskQueue::resumeWorkerInThread(QThread* thread)
{
    setWorkerPaused(thread, false);
}

void TaskQueue::setWorkerPaused(QThread* thread, bool isPaused)
{
    const auto worker =
        std::find_if(m_workers.begin(), m_workers.end(),
                     [thread](const TaskWorker* candidate) { return candidate->thread() == thread; });
    if (worker != m_workers.end())
        (*worker)->setPaused(isPaused);
}

bool TaskQueue::areAllWorkersPaused() const
{
    return std::all_of(m_workers.begin(), m_workers.end(),
                       [](const TaskWorker* worker) { return worker->isPaused(); });
}

} // namespace Brennic::Core

template class Brennic::Objects::SharedObject<Brennic::Core::TaskQueue>;

#include "moc_TaskQueue.cpp" // NOLINT(bugprone-suspicious-include)
