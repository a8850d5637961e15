#include <brn_mesh_kernel/tasks/TaskWorker.h>

#include <chrono>
#include <string>
#include <utility>

#include <QCoreApplication>
#include <QEvent>
#include <QThread>

#include <brn_mesh_kernel/diagnostics/CrashStack.h>
#include <brn_mesh_kernel/diagnostics/OutermostCall.h>
#include <brn_mesh_kernel/tasks/ApplicationGate.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/ThreadName.h>
#include <brn_mesh_kernel/tasks/WorkerRegistry.h>

namespace Brennic::Core {

namespace {

// Only a worker receives it, so the number needs no registration.
constexpr auto announcementsEvent = static_cast<QEvent::Type>(QEvent::User + 1);

// A batch in the GUI thread ends after this time, whatever the tasks do, so that the host keeps drawing.
constexpr std::chrono::milliseconds guiBatchTime{8};

// A larger inbox is given back once it has been emptied.
constexpr std::size_t largestKeptInbox = 4096;

QThread::Priority threadPriority(EQualityOfService qos)
{
    switch (qos) {
    case eQOS_High:
        return QThread::HighPriority;
    case eQOS_Low:
        return QThread::LowPriority;
    case eQOS_Background:
        return QThread::IdlePriority;
    default:
        return QThread::NormalPriority;
    }
}

// The worker of the calling thread, if it has one.
thread_local TaskWorker* t_worker = nullptr;

template <typename Count>
class Counted
{
public:
    explicit Counted(Count& count) : m_count(count) { ++m_count; }
    ~Counted() { --m_count; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

private:
    Count& m_count;
};

} // namespace

TaskWorker::TaskWorker(TaskQueue* queue)
    : m_qos(queue->getQOS()),
      m_isFirstOfQueue(queue->m_workers.empty()),
      m_queue(queue),
      m_isEventOnItsWay(m_qos != eQOS_GUI),
      m_state(m_qos == eQOS_GUI ? State::Idle : State::Notified)
{
    const int number = WorkerRegistry::instance().add(*this, m_qos);
    if (m_qos == eQOS_GUI) {
        QThread::currentThread()->setPriority(QThread::HighestPriority);
        return;
    }
    m_threadName = workerThreadName(m_qos, number);
    startThread();
}

TaskWorker::~TaskWorker()
{
    WorkerRegistry::instance().remove(*this);
    // Whoever let the worker retire may still be on its way out of retire().
    const std::lock_guard<std::mutex> lock(m_mutex);
}

void TaskWorker::startThread()
{
    auto* const thread = new QThread; // deleted by the registry
    moveToThread(thread);
    // Both are called in the new thread. An event loop must not begin before there is an application object,
    // and without one a deferred deletion would be dropped: so neither is left to events.
    connect(thread, &QThread::started, this, &TaskWorker::enterThread, Qt::DirectConnection);
    connect(thread, &QThread::finished, this, &TaskWorker::leaveThread, Qt::DirectConnection);
    thread->start(threadPriority(m_qos));
}

void TaskWorker::enterThread()
{
    t_worker = this;
    m_crashStack = std::make_unique<CrashStack>();
    nameCurrentThread(m_threadName);
    if (!mayGoOn())
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isInLoop = true;
    QCoreApplication::postEvent(this, new QEvent(announcementsEvent));
}

void TaskWorker::leaveThread()
{
    QThread* const ownThread = thread();
    t_worker = nullptr;
    WorkerRegistry::instance().takeOver(
        ownThread); // first: at every moment the registry knows one of the two
    delete this;
}

void TaskWorker::hear(Task* pTask)
{
    const Announcement announcement{pTask, TaskQueue::announcedTicket()};
    if (m_qos == eQOS_GUI && QThread::currentThread() == thread()) {
        std::unique_lock<std::mutex> lock(m_queueMutex);
        Claim claim = claimLocked(announcement);
        lock.unlock();
        run(std::move(claim));
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_inbox.push_back(announcement);
        // An idle worker is left to the queue. An active one gets an event: its task may be serving events.
        const bool isFull = m_inbox.size() % inboxLimit == 0;
        if ((m_state == State::Idle && !isFull) || !mustSendEventLocked())
            return;
    }
    QCoreApplication::postEvent(this, new QEvent(announcementsEvent));
}

void TaskWorker::notify()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_state != State::Idle || !ApplicationGate::isOpen())
            return;
        m_state = State::Notified;
        if (!mustSendEventLocked())
            return;
    }
    QCoreApplication::postEvent(this, new QEvent(announcementsEvent));
}

bool TaskWorker::mustSendEventLocked()
{
    if (m_isEventOnItsWay || !ApplicationGate::isOpen())
        return false;
    m_isEventOnItsWay = true;
    return true;
}

void TaskWorker::loseQueue()
{
    const std::lock_guard<std::mutex> lock(m_queueMutex);
    m_queue = nullptr;
}

void TaskWorker::retire()
{
    if (m_qos == eQOS_GUI) {
        deleteLater();
        return;
    }
    {
        // Under the lock, which the destructor takes: the worker may end as soon as it knows. An event would
        // be dropped while there is no application object; this is not.
        const std::lock_guard<std::mutex> lock(m_mutex);
        thread()->quit(); // before the gate lets the thread go on
        m_hasRetired = true;
    }
    ApplicationGate::lookAgain();
}

// Only where no event can be on its way, or the one that was has been lost: a second one would be delivered when
// the worker is thought to be at rest.
void TaskWorker::wake()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const bool helpsItself = !m_isInLoop || m_isHeld || m_state == State::Active;
        const bool hasNothing = m_state == State::Idle && m_inbox.empty() && !m_isEventOnItsWay;
        if (hasNothing || (helpsItself && m_qos != eQOS_GUI))
            return;
        m_isEventOnItsWay = true;
        m_state = State::Notified;
    }
    QCoreApplication::postEvent(this, new QEvent(announcementsEvent));
}

bool TaskWorker::isAtRest()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool isAsleep = m_state != State::Active && !m_isEventOnItsWay;
    return m_qos == eQOS_GUI || m_isHeld || m_running > 0 || isAsleep;
}

bool TaskWorker::isComingOrGoing() const
{
    const bool isComing = !m_isServing && !m_isHeld;
    const bool isGoing = m_hasRetired && !m_isHeld && m_running == 0;
    return m_qos != eQOS_GUI && (isComing || isGoing);
}

void TaskWorker::collectPendingTasks(std::vector<std::shared_ptr<Task>>& tasks)
{
    const std::lock_guard<std::mutex> lock(m_queueMutex);
    if (m_queue == nullptr || !m_isFirstOfQueue)
        return;
    const std::vector<std::shared_ptr<Task>> pending = m_queue->pendingTasks();
    tasks.insert(tasks.end(), pending.begin(), pending.end());
}

bool TaskWorker::event(QEvent* event)
{
    if (event->type() != announcementsEvent)
        return QObject::event(event);
    m_isServing = true;
    handOverAnnouncements();
    return true;
}

bool TaskWorker::mayGoOn()
{
    if (m_qos == eQOS_GUI)
        return ApplicationGate::isOpen();
    if (!ApplicationGate::isOpen())
        ApplicationGate::hold(*this);
    return !m_hasRetired;
}

void TaskWorker::handOverAnnouncements()
{
    const Counted handOver(m_handOvers);
    startHandOver();
    const bool isGui = m_qos == eQOS_GUI;
    const auto end = isGui ? std::chrono::steady_clock::now() + guiBatchTime
                           : std::chrono::steady_clock::time_point::max();
    int announcementsLeft = announcementLimit;
    for (int tasks = 0; mayGoOn() && tasks < batchLimit; ++tasks) {
        if (isGui && std::chrono::steady_clock::now() > end)
            break;
        Claim claim = claimNext(announcementsLeft);
        if (!claim.task)
            break;
        run(std::move(claim));
    }
    endHandOver();
}

void TaskWorker::startHandOver()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_state = State::Active;
        m_isEventOnItsWay = false;
        const std::size_t waiting = m_inbox.size() + m_taken.size() - m_nextTaken;
        if (waiting < 2 || !mustSendEventLocked())
            return;
    }
    // Sent before the first task runs: a task that runs an event loop lets the others be served there.
    QCoreApplication::postEvent(this, new QEvent(announcementsEvent));
}

void TaskWorker::endHandOver()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const bool isEmpty = m_inbox.empty() && m_nextTaken == m_taken.size();
        // Inside a task that serves events nothing ends: the worker stays busy with that task.
        if (m_handOvers == 1)
            m_state = isEmpty ? State::Idle : State::Notified;
        if (isEmpty || !mustSendEventLocked())
            return;
    }
    QCoreApplication::postEvent(this, new QEvent(announcementsEvent));
}

const Announcement* TaskWorker::nextAnnouncement()
{
    if (m_nextTaken == m_taken.size()) {
        m_nextTaken = 0;
        if (m_taken.capacity() > largestKeptInbox)
            std::vector<Announcement>().swap(m_taken);
        m_taken.clear();
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_taken.swap(m_inbox);
    }
    return m_taken.empty() ? nullptr : &m_taken[m_nextTaken++];
}

// Hands over announcements until one leads to a task.
TaskWorker::Claim TaskWorker::claimNext(int& announcementsLeft)
{
    const std::lock_guard<std::mutex> lock(m_queueMutex);
    while (announcementsLeft-- > 0) {
        const Announcement* const announcement = nextAnnouncement();
        if (announcement == nullptr)
            break;
        if (Claim claim = claimLocked(*announcement); claim.task)
            return claim;
    }
    return {};
}

TaskWorker::Claim TaskWorker::claimLocked(const Announcement& announcement)
{
    Claim claim;
    if (m_queue == nullptr)
        return claim;
    claim.task = m_queue->findAndRemoveTask(announcement);
    if (claim.task && m_queue->workerToNotify() != nullptr && m_queue->hasPendingTasks())
        claim.queue = m_queue->shared_from_this(); // empty if it is being destroyed
    return claim;
}

void TaskWorker::tryRunTask(Task* pTask)
{
    std::unique_lock<std::mutex> lock(m_queueMutex);
    Claim claim = claimLocked({pTask, 0});
    lock.unlock();
    run(std::move(claim));
}

void TaskWorker::run(Claim claim)
{
    if (!claim.task)
        return;
    if (claim.queue)
        claim.queue->notifyWorker();
    claim.queue.reset();
    {
        const Counted run(m_running);
        if (m_qos == eQOS_GUI)
            claim.task->runTask();
        else
            callOutermost([](void* task) { static_cast<Task*>(task)->runTask(); }, claim.task.get());
    }
    // Objects with static storage are being destroyed now, perhaps also some that releasing the task needs.
    if (m_qos != eQOS_GUI && ApplicationGate::hasEnded())
        ApplicationGate::hold(*this);
}

std::shared_ptr<TaskQueue> TaskWorker::queueOfCurrentThread()
{
    if (t_worker == nullptr)
        return {};
    const std::lock_guard<std::mutex> lock(t_worker->m_queueMutex);
    return t_worker->m_queue == nullptr ? nullptr : t_worker->m_queue->shared_from_this();
}

void TaskWorker::wakeWaitersOf(Task& task)
{
    task.wakeWaiters();
}

bool TaskWorker::waitOrWithdraw(Task& task)
{
    return task.waitOrWithdraw(true);
}

} // namespace Brennic::Core

#include "moc_TaskWorker.cpp" // NOLINT(bugprone-suspicious-include)
