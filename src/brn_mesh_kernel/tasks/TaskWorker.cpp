#include <brn_mesh_kernel/tasks/TaskWorker.h>

#include <thread>
#include <utility>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEvent>
#include <QThread>

#include <brn_mesh_kernel/library/Process.h>
#include <brn_mesh_kernel/library/QtHandlers.h>
#include <brn_mesh_kernel/tasks/WorkerThreads.h>

namespace Brennic::Core {

namespace {

using Clock = std::chrono::steady_clock;

// How long jobs are run in a row while events of the host wait.
constexpr std::chrono::milliseconds turnTime{1};

// The GUI thread is to be back at its timers, input and painting within a frame of 16 ms. A pass through its posted
// events is measured after the first of these times, and is a flood once it has spent the second in jobs. The event of a
// flood runs jobs for the third.
constexpr std::chrono::milliseconds shortTime{2};
constexpr std::chrono::milliseconds passTime{7};
constexpr std::chrono::milliseconds floodTime{5};

// More pending jobs than these are a flood too, and its event runs no more than these.
constexpr std::size_t mostInOrder = 8'192;
constexpr int mostInFlood = 512;

constexpr TaskWorker::JobNumber noJob = 0; // of an event that marks a pass

thread_local TaskWorker* t_worker = nullptr;

// Set before the first worker's thread starts, so that the threads read it without a lock.
std::shared_ptr<void> (*g_makeThreadGuard)() = nullptr;

QEvent::Type workerEventType()
{
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

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

} // namespace

// Tells its worker if Qt drops it: a task may serve events while there is no application object.
class TaskWorker::WorkerEvent : public QEvent
{
public:
    WorkerEvent(TaskWorker& receiver, JobNumber job, bool isOfFlood = false)
        : QEvent(workerEventType()), number(job), isFlood(isOfFlood), m_worker(receiver)
    {
    }
    ~WorkerEvent() override
    {
        if (!isDelivered && m_worker.m_core->qos != eQOS_GUI)
            m_worker.m_core->post(m_worker.m_core->scheduler.loseEvent(m_worker));
    }
    WorkerEvent(const WorkerEvent&) = delete;
    WorkerEvent& operator=(const WorkerEvent&) = delete;

    const JobNumber number; // of the last job that it may run
    const bool isFlood;
    bool isDelivered = false;

private:
    TaskWorker& m_worker;
};

// Jobs in a row. Ends in good order if one throws.
class TaskWorker::Turn
{
public:
    explicit Turn(TaskWorker& worker) : m_worker(worker), m_core(*worker.m_core) { ++worker.m_turns; }
    ~Turn()
    {
        --m_worker.m_turns;
        if (m_isBusy)
            m_core.post(m_core.scheduler.leave(m_worker));
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    bool take(TaskJob& job)
    {
        m_core.post(m_isBusy ? m_core.scheduler.takeNext(m_worker, job)
                             : m_core.scheduler.arrive(m_worker, job));
        return m_isBusy = static_cast<bool>(job);
    }

private:
    TaskWorker& m_worker;
    TaskQueueCore& m_core;
    bool m_isBusy = false;
};

TaskWorker::TaskWorker(std::shared_ptr<TaskQueueCore> core) : m_core(std::move(core))
{
    const int number = WorkerThreads::add(*this, m_core->qos);
    if (m_core->qos == eQOS_GUI) {
        m_core->guiWorker = this;
        QThread::currentThread()->setPriority(QThread::HighestPriority);
        return;
    }
    m_threadName = WorkerThreads::name(m_core->qos, number);
    m_core->scheduler.addWorker(*this);
    auto* const ownThread = new QThread; // deleted by WorkerThreads
    moveToThread(ownThread);
    // Both are called in the new thread. An event loop must not begin before there is an application object,
    // and without one a deferred deletion would be dropped: so neither is left to events.
    connect(ownThread, &QThread::started, this, &TaskWorker::enterThread, Qt::DirectConnection);
    connect(ownThread, &QThread::finished, this, &TaskWorker::leaveThread, Qt::DirectConnection);
}

TaskWorker::~TaskWorker()
{
    WorkerThreads::remove(*this);
    discardEvents();
    if (m_core->qos != eQOS_GUI)
        m_core->scheduler.removeWorker(*this);
}

TaskWorker* TaskWorker::current()
{
    return t_worker;
}

void TaskWorker::guardThreadsBy(std::shared_ptr<void> (*make)())
{
    g_makeThreadGuard = make;
}

bool TaskWorker::startThread()
{
    thread()->start(threadPriority(m_core->qos));
    return thread()->isRunning();
}

void TaskWorker::enterThread()
{
    t_worker = this;
    if (g_makeThreadGuard != nullptr)
        m_threadGuard = g_makeThreadGuard();
    nameCurrentThread(m_threadName);
    const QAbstractEventDispatcher* const dispatcher = thread()->eventDispatcher();
    m_loopBlocks = connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, &TaskWorker::enterLoop,
                           Qt::DirectConnection);
    m_loopAwakes = connect(dispatcher, &QAbstractEventDispatcher::awake, this, &TaskWorker::enterLoop,
                           Qt::DirectConnection);
    if (mayGoOn())
        m_core->post(m_core->scheduler.start(*this));
}

void TaskWorker::enterLoop()
{
    m_isServing = true;
    disconnect(m_loopBlocks);
    disconnect(m_loopAwakes);
}

void TaskWorker::leaveThread()
{
    QThread* const ownThread = thread();
    t_worker = nullptr;
    WorkerThreads::takeOver(ownThread); // first: at every moment one of the two is listed
    delete this;
}

void TaskWorker::retire()
{
    m_hasRetired = true;
    if (m_core->qos == eQOS_GUI)
        deleteLater();
    else
        thread()->quit(); // an event would be dropped while there is no application object; this is not
}

void TaskWorker::postEvent()
{
    QCoreApplication::postEvent(this, new WorkerEvent(*this, noJob));
}

void TaskWorker::postJob(JobNumber number, std::size_t pendingCount)
{
    if (m_isFlooded)
        return;
    if (pendingCount > mostInOrder)
        postFlood();
    else
        postGuiEvent(number);
}

// Leaves alone what is added from now on: an event of the host may have been posted before that.
void TaskWorker::postFlood()
{
    m_isFlooded = true;
    postGuiEvent(m_core->scheduler.newest(), true);
}

void TaskWorker::postGuiEvent(JobNumber number, bool isFlood)
{
    if (const WorkerThreads::ApplicationUse use; use)
        QCoreApplication::postEvent(this, new WorkerEvent(*this, number, isFlood));
}

void TaskWorker::discardEvents()
{
    while (isBeingPosted())
        std::this_thread::yield();
    QCoreApplication::removePostedEvents(this, workerEventType());
}

void TaskWorker::resume()
{
    if (m_core->qos == eQOS_GUI) {
        beginPass();
        m_isFlooded = false; // its events have been taken back
        m_endedFloods = 0;
        if (m_core->scheduler.pendingCount() > 0)
            postFlood();
        return;
    }
    m_core->post(m_core->scheduler.resume());
}

bool TaskWorker::isAtRest() const
{
    const bool expectsEvent = m_core->scheduler.hasEvent(*this) && !m_core->scheduler.isBusy(*this);
    return m_core->qos == eQOS_GUI || m_isHeld || (m_isServing && !expectsEvent);
}

bool TaskWorker::isStartingOrEnding() const
{
    const bool isEnding = m_hasRetired && !m_core->scheduler.isBusy(*this);
    return m_core->qos != eQOS_GUI && !m_isHeld && (!m_isServing || isEnding);
}

bool TaskWorker::event(QEvent* event)
{
    if (event->type() != workerEventType())
        return QObject::event(event);
    auto& workerEvent = static_cast<WorkerEvent&>(*event);
    // Without an application object a job's event loop is left alone: only the job's end holds the thread.
    workerEvent.isDelivered =
        m_core->qos == eQOS_GUI || (m_turns > 0 ? WorkerThreads::areEventsDelivered() : mayGoOn());
    if (m_core->qos == eQOS_GUI)
        serveGui(workerEvent.number, workerEvent.isFlood);
    else if (workerEvent.isDelivered)
        serve();
    return true;
}

bool TaskWorker::mayGoOn()
{
    if (!WorkerThreads::areEventsDelivered())
        WorkerThreads::hold(*this);
    return !m_hasRetired;
}

void TaskWorker::serve()
{
    m_core->lastCore.store(currentCore(), std::memory_order_relaxed);
    Turn turn(*this);
    const Clock::time_point end = Clock::now() + turnTime;
    for (TaskJob job; turn.take(job);) {
        callIgnoringQtHandlers([](void* argument) { static_cast<TaskJob*>(argument)->run(); }, &job);
        // Objects with static storage are being destroyed now, perhaps also some that releasing the job needs.
        if (WorkerThreads::haveEnded())
            WorkerThreads::hold(*this);
        job = TaskJob();
        // One at a time inside the event loop of a job: others may run event loops too, and nest without end.
        if (m_turns > 1 || !mayGoOn() || Clock::now() > end)
            return;
    }
}

void TaskWorker::serveGui(JobNumber number, bool isFlood)
{
    if (isFlood || number == noJob)
        beginPass();
    if (isFlood ? takeBackFlood() : m_isFlooded.load())
        return;
    Clock::time_point begin = Clock::now();
    if (m_passBegan == Clock::time_point()) {
        m_passBegan = begin;
        m_core->lastCore.store(currentCore(), std::memory_order_relaxed);
    }
    const bool isLong = isFlood || begin - m_passBegan >= shortTime;
    TaskJob job;
    for (int jobs = 0; jobs < mostInFlood && WorkerThreads::areEventsDelivered(); ++jobs) {
        const auto [next, pendingCount] = m_core->scheduler.take(job, number);
        if (!job) {
            if (isFlood && jobs == 0 && pendingCount > 0) // left to the flood, but after its event was posted
                postFlood();
            return;
        }
        // All this before the job runs: it may run an event loop.
        if (pendingCount > 0 || isLong)
            markPass();
        const bool isTooMuch = isFlood || m_passTime > passTime || pendingCount > mostInOrder;
        if (isTooMuch && pendingCount > 0 && !m_isFlooded)
            postFlood();
        else if (isFlood && pendingCount == 0 && m_isFlooded)
            endFlood();
        job.run();
        job = TaskJob();
        if (isLong) {
            const Clock::time_point end = Clock::now();
            m_passTime += end - std::exchange(begin, end);
        }
        if (next > number || (isFlood && m_passTime > floodTime))
            return;
    }
}

// Whoever adds a job from now on posts an event for it; one that was added before may have been left to the flood.
void TaskWorker::endFlood()
{
    m_isFlooded = false;
    ++m_endedFloods;
    if (m_core->scheduler.pendingCount() > 0)
        postFlood();
}

// Whether the event that has come is that of a flood which has ended before it came.
bool TaskWorker::takeBackFlood()
{
    if (m_endedFloods > 0) {
        --m_endedFloods;
        return true;
    }
    m_isFlooded = false;
    return false;
}

void TaskWorker::beginPass()
{
    m_isPassMarked = false;
    m_passBegan = {};
    m_passTime = {};
}

// A pass delivers what was posted before it began. So an event that is posted in the middle of one arrives when the
// thread has been at its timers and its input again. It also lets an event loop that a job runs deliver what is left
// of the pass: without a new event, Qt takes it that there is nothing. A pass needs none that is short and has no more
// to run.
void TaskWorker::markPass()
{
    if (!std::exchange(m_isPassMarked, true))
        postGuiEvent(noJob);
}

void TaskWorker::tryRunTask(Task* pTask)
{
    TaskJob job;
    m_core->scheduler.remove([pTask](const TaskJob& pending) { return pending.task.get() == pTask; }, job);
    if (job.task)
        job.run();
}

} // namespace Brennic::Core

#include "moc_TaskWorker.cpp" // NOLINT(bugprone-suspicious-include)
