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

// How long a worker runs jobs in a row while events of the host may be pending in its thread.
constexpr std::chrono::milliseconds turnTime{1};

// The GUI thread must be back at its timers, input and painting within a frame of 16 ms. For shortTime the
// jobs of a pass are not timed, which saves most passes a reading of the clock after each job. Then the pass
// may spend passTime in jobs, 9 ms in all, before the rest becomes a flood. A flood's event runs jobs for
// floodTime.
constexpr std::chrono::milliseconds shortTime{2};
constexpr std::chrono::milliseconds passTime{7};
constexpr std::chrono::milliseconds floodTime{5};

// More pending jobs are a flood at once: at 2 µs each they fill a frame. An event runs mostInFlood jobs at
// most, so that many jobs of no time at all do not keep the thread from its other events.
constexpr std::size_t mostInOrder = 8'192;
constexpr int mostInFlood = 512;

constexpr TaskWorker::JobNumber noJob = 0; // in an event that stands for no job: jobs are numbered from 1

thread_local TaskWorker* t_worker = nullptr;

// Set when the library is loaded, before other threads can ask for it; perhaps also before the variables of this
// file get their first values.
std::thread::id& guiThreadId()
{
    static std::thread::id id;
    return id;
}

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

// An event that is dropped tells the scheduler so from its destructor, or the worker would count as notified
// for ever. Qt drops it if a job runs an event loop while there is no application object, and discardEvents()
// takes it back. The GUI queue is not scheduled, so its events have nothing to tell.
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

    const JobNumber number; // in the GUI thread: of the last job that it may run
    const bool isFlood;
    bool isDelivered = false;

private:
    TaskWorker& m_worker;
};

// Jobs that one event runs in a row. Its destructor leaves the scheduler in order also if a job throws.
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

    // The first call reports that the event has arrived, each further one that the job before has run.
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
        guiThreadId() = std::this_thread::get_id();
        QThread::currentThread()->setPriority(QThread::HighestPriority);
        return;
    }
    m_threadName = WorkerThreads::name(m_core->qos, number);
    m_core->scheduler.addWorker(*this);
    auto* const ownThread = new QThread; // deleted by WorkerThreads
    moveToThread(ownThread);
    // Direct: both must run in the new thread, and without events. enterThread() runs before the event loop,
    // which must not begin before there is an application object; leaveThread() runs after it, when no event
    // is delivered.
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

std::thread::id TaskWorker::guiThread()
{
    return guiThreadId();
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
    // Qt does not tell when the event loop has begun. Its first signal does; until then Qt is still making
    // what the loop needs, and the process must not end in the middle of that (isStartingOrEnding()).
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
    WorkerThreads::takeOver(ownThread); // before the worker leaves the list: one of the two must be listed
    delete this;
}

void TaskWorker::retire()
{
    m_hasRetired = true;
    if (m_core->qos == eQOS_GUI)
        deleteLater();
    else
        thread()->quit(); // not by an event: Qt would drop it while there is no application object
}

void TaskWorker::postEvent()
{
    QCoreApplication::postEvent(this, new WorkerEvent(*this, noJob));
}

void TaskWorker::postJob(JobNumber number, std::size_t pendingCount)
{
    if (m_isFlooded) // read after the job was added: a flood that ends now sees the job pending (endFlood())
        return;
    if (pendingCount > mostInOrder)
        postFlood();
    else
        postGuiEvent(number);
}

// The flood's event runs jobs up to the newest of now. Those that are added later may belong behind an event
// that the host has posted in between, so they are left to the next flood.
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
    // A thread that the scheduler has told to post an event may be about to do so. It holds no lock by then.
    while (isBeingPosted())
        std::this_thread::yield();
    QCoreApplication::removePostedEvents(this, workerEventType());
}

void TaskWorker::resume()
{
    if (m_core->qos == eQOS_GUI) {
        beginPass();
        m_isFlooded = false; // discardEvents() has taken its event back
        m_endedFloods = 0;
        if (m_core->scheduler.pendingCount() > 0)
            postFlood(); // one event for all: theirs have been taken back too
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
    // Without an application object mayGoOn() holds the thread. Not inside a job's event loop, though, which
    // the job waits for: there the event counts as dropped, and the thread is held when the job has returned.
    workerEvent.isDelivered =
        m_core->qos == eQOS_GUI || (m_turns > 0 ? WorkerThreads::areEventsDelivered() : mayGoOn());
    if (m_core->qos == eQOS_GUI)
        serveGui(workerEvent.number, workerEvent.isFlood);
    else if (workerEvent.isDelivered)
        serve();
    return true;
}

// Holds the thread while there is no application object. Returns whether the worker may run another job.
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
        // The function of a QThread catches everything. What only Qt would catch ends the process at the
        // throw instead, while the stack is whole, so that a dump shows it.
        callIgnoringQtHandlers([](void* argument) { static_cast<TaskJob*>(argument)->run(); }, &job);
        // The process ends, and objects with static storage are being destroyed. Releasing the job may need
        // some of them, so the thread stops here for good.
        if (WorkerThreads::haveEnded())
            WorkerThreads::hold(*this);
        job = TaskJob(); // take() expects it empty
        // Inside the event loop of a job one at a time: the next may run an event loop too, and they would
        // nest without end.
        if (m_turns > 1 || !mayGoOn() || Clock::now() > end)
            return;
    }
}

// Runs the pending jobs up to the event's own, for a flood until its time is up. Two threads may post their
// events in another order than they have added their jobs: then the first event runs both, and the second
// none.
void TaskWorker::serveGui(JobNumber number, bool isFlood)
{
    if (isFlood || number == noJob) // posted in the middle of the pass before
        beginPass();
    if (number == noJob)
        return;
    if (isFlood ? takeBackFlood() : m_isFlooded.load()) // left to the flood's event
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
        const bool goesOn = pendingCount > 0 || isLong;
        if (!goesOn && !m_isPassMarked)
            beginPass(); // nothing is left to run: what comes later belongs to another pass
        if (!job) {
            // Jobs that were added after the flood's event was posted have no events of their own.
            if (isFlood && jobs == 0 && pendingCount > 0)
                postFlood();
            return;
        }
        // Posted before the job runs, since it may run an event loop that is to deliver them.
        if (goesOn)
            markPass();
        const bool isTooMuch = isFlood || m_passTime > passTime || pendingCount > mostInOrder;
        if (isTooMuch && pendingCount > 0 && !m_isFlooded)
            postFlood();
        else if (pendingCount == 0 && m_isFlooded)
            endFlood();
        job.run(); // plainly: in the GUI thread Qt catches nothing, so what it throws is not lost
        job = TaskJob();
        if (isLong) {
            const Clock::time_point end = Clock::now();
            m_passTime += end - std::exchange(begin, end);
        }
        if (next > number || (isFlood && m_passTime > floodTime))
            return;
    }
}

// Ends a flood that has run everything. Its next event is on its way already and is to do nothing. Who adds a
// job from now on posts an event for it. Who has added one just before may still have seen the flood and
// posted none, so look once more.
void TaskWorker::endFlood()
{
    m_isFlooded = false;
    ++m_endedFloods;
    if (m_core->scheduler.pendingCount() > 0)
        postFlood();
}

// A flood's event has come. Returns true if that flood has ended: then the event does nothing.
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

// Posts an event that will tell when the next pass begins. A pass delivers what was posted before it began,
// so an event that is posted in the middle arrives after the thread has been at its timers and input. The
// event also lets an event loop that a job runs deliver the rest of the pass: without a new event, Qt takes
// it that there is nothing. A short pass with nothing left to run needs no mark.
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
