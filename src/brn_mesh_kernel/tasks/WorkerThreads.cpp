#include <brn_mesh_kernel/tasks/WorkerThreads.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include <QCoreApplication>
#include <QThread>

#include <brn_mesh_kernel/library/Process.h>
#include <brn_mesh_kernel/tasks/DispatchedCall.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>

namespace Brennic::Core::WorkerThreads {

namespace {

enum class Phase
{
    BeforeApplication,
    Application,
    AfterApplication,
    Ended
};

struct Entry
{
    TaskWorker* worker;
    EQualityOfService qos;
    int number;
};

// Workers that are made with the next application object.
struct LaterWorkers
{
    std::shared_ptr<TaskQueueCore> core;
    int count;
};

// The thread object of a worker that has gone, and its thread, which may still be ending.
struct FinishedThread
{
    std::unique_ptr<QThread> thread;
    ThreadEnd end;

    bool isEnding() const { return !thread->wait(0) || !end.hasCome(); }
};

struct State
{
    std::atomic<Phase> phase{Phase::BeforeApplication}; // changed under mutex, read without
    std::atomic<const QThread*> applicationThread{nullptr};
    std::mutex mutex;
    std::condition_variable changed;
    std::atomic<int> applicationUses{0};
    std::vector<Entry> entries;                  // guarded by mutex
    std::vector<LaterWorkers> later;             // guarded by mutex
    std::vector<FinishedThread> finishedThreads; // guarded by mutex
};

using Lock = std::unique_lock<std::mutex>;

constexpr std::size_t longestThreadName = 15;

// A worker whose thread the host holds up in a slot must not keep the host from leaving for ever. The limit
// is long enough for a thread of idle priority on a busy machine.
constexpr std::chrono::seconds restLimit{2};

State& state()
{
    static State* const instance = new State;
    return *instance;
}

// Returns false once the process ends: an application object that is made or destroyed later changes nothing.
bool enter(Phase phase)
{
    const Lock lock(state().mutex);
    if (haveEnded())
        return false;
    state().phase = phase;
    state().changed.notify_all();
    return true;
}

void wakeWaiters()
{
    // Outside the mutex: whoever holds a task last may destroy its queue here, which takes the mutex to end
    // the workers.
    for (const std::shared_ptr<TaskQueueCore>& core : cores())
        core->wakeWaiters();
}

template <typename Condition>
void waitUntil(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + restLimit;
    Lock lock(state().mutex);
    // Polls, because nobody notifies `changed` when a worker begins a task, or a thread has posted its event.
    while (!condition() && std::chrono::steady_clock::now() < end)
        state().changed.wait_for(lock, std::chrono::milliseconds(1));
}

// Whether a thread is inside Qt's start or end of it. The calling thread does not count: it may be ending
// itself.
bool isAnyStartingOrEnding()
{
    const std::vector<Entry>& entries = state().entries;
    const std::vector<FinishedThread>& finished = state().finishedThreads;
    const auto isEnding = [](const FinishedThread& each) {
        return each.thread.get() != QThread::currentThread() && each.isEnding();
    };
    return std::any_of(entries.begin(), entries.end(),
                       [](const Entry& entry) { return entry.worker->isStartingOrEnding(); }) ||
           std::any_of(finished.begin(), finished.end(), isEnding);
}

bool areAllAtRest()
{
    const std::vector<Entry>& entries = state().entries;
    return std::all_of(entries.begin(), entries.end(),
                       [](const Entry& entry) { return entry.worker->isAtRest(); });
}

// Waits for no thread: a thread that is ending may get here, when it destroys an object of the host that owns
// a queue. Deletes two at most: the list shrinks, since one is added at a time, and nobody pays for many.
void deleteFinishedThreads()
{
    std::vector<FinishedThread> deleted; // before the lock, so that they are deleted after it
    const Lock lock(state().mutex);
    std::vector<FinishedThread>& threads = state().finishedThreads;
    while (deleted.size() < 2 && !threads.empty()) {
        if (threads.front().thread.get() == QThread::currentThread() || threads.front().isEnding())
            return;
        deleted.push_back(std::move(threads.front()));
        threads.erase(threads.begin());
    }
}

void makeWorkersNow(const std::shared_ptr<TaskQueueCore>& core, int count)
{
    for (int made = 0; made < count; ++made) {
        auto* const worker = new TaskWorker(core); // deletes itself after it has retired
        // One section, so that whoever retires the queue's workers finds each one whose thread has started.
        Lock lock(state().mutex);
        if (core->qos != eQOS_GUI && !worker->startThread()) {
            lock.unlock(); // the worker's destructor takes it
            const std::unique_ptr<QThread> thread(worker->thread());
            delete worker;
            core->scheduler.setWorkerCount(made);
            return;
        }
        core->workers.push_back(worker);
    }
}

// Called by the destructor of the application object, which must not go on while a worker may touch the
// object. From the new phase on nothing is posted. What is on its way is taken back, and then all workers
// come to rest.
void leaveApplication()
{
    enter(Phase::AfterApplication);
    DispatchedCall::giveUpPending(true);
    wakeWaiters(); // no worker runs their tasks any more: they do it themselves
    waitUntil([] { return state().applicationUses == 0; });
    {
        // An event that stays would be delivered by an application object whose destructor has begun.
        const Lock lock(state().mutex);
        for (const Entry& entry : state().entries)
            entry.worker->discardEvents();
    }
    waitUntil(&areAllAtRest);
}

void retireLocked(TaskQueueCore& core)
{
    for (TaskWorker* worker : core.workers)
        worker->retire();
    core.workers.clear();
    state().changed.notify_all();
}

void enterApplication()
{
    if (!enter(Phase::Application))
        return;
    qAddPostRoutine(&leaveApplication); // each time: Qt forgets it once it has been called
    Lock lock(state().mutex);
    for (const Entry& entry : state().entries)
        entry.worker->resume();
    const std::vector<LaterWorkers> later = std::exchange(state().later, {});
    lock.unlock();
    for (const LaterWorkers& workers : later) {
        makeWorkersNow(workers.core, workers.count);
        lock.lock();
        if (workers.core->isQueueGone) // meanwhile, when there were no workers to retire
            retireLocked(*workers.core);
        lock.unlock();
    }
}

} // namespace

void watchApplication()
{
    state().applicationThread = QThread::currentThread();
    qAddPreRoutine(&enterApplication); // called at once if there is an application object
}

bool areEventsDelivered()
{
    return state().phase == Phase::Application;
}

bool haveEnded()
{
    return state().phase == Phase::Ended;
}

bool isGuiThreadOutOfReach()
{
    const bool isOwnThread = QThread::currentThread() == state().applicationThread;
    return state().phase >= Phase::AfterApplication && !isOwnThread;
}

bool areOutOfReach()
{
    const Phase phase = state().phase;
    return phase >= Phase::AfterApplication ||
           (phase == Phase::BeforeApplication && QThread::currentThread() == state().applicationThread);
}

int add(TaskWorker& worker, EQualityOfService qos)
{
    deleteFinishedThreads();
    const Lock lock(state().mutex);
    std::vector<Entry>& entries = state().entries;
    std::vector<bool> isTaken(entries.size() + 2);
    for (const Entry& entry : entries)
        if (entry.qos == qos && static_cast<std::size_t>(entry.number) < isTaken.size())
            isTaken[static_cast<std::size_t>(entry.number)] = true;
    const auto number =
        static_cast<int>(std::find(isTaken.begin() + 1, isTaken.end(), false) - isTaken.begin());
    entries.push_back({&worker, qos, number});
    return number;
}

void remove(const TaskWorker& worker)
{
    const Lock lock(state().mutex);
    std::vector<Entry>& entries = state().entries;
    const auto isWorker = [&worker](const Entry& entry) { return entry.worker == &worker; };
    entries.erase(std::remove_if(entries.begin(), entries.end(), isWorker), entries.end());
}

std::vector<std::shared_ptr<TaskQueueCore>> cores()
{
    std::vector<std::shared_ptr<TaskQueueCore>> result;
    const Lock lock(state().mutex);
    for (const Entry& entry : state().entries)
        result.push_back(entry.worker->core().shared_from_this());
    return result;
}

std::size_t count()
{
    const Lock lock(state().mutex);
    return state().entries.size();
}

ApplicationUse::ApplicationUse()
{
    // Count before reading the phase. leaveApplication() sets the phase before it reads the count, so at
    // least one side sees the other.
    ++state().applicationUses;
    m_isThere = areEventsDelivered();
}

ApplicationUse::~ApplicationUse()
{
    --state().applicationUses;
}

void makeWorkers(const std::shared_ptr<TaskQueueCore>& core, int count)
{
    core->scheduler.setWorkerCount(count);
    const ApplicationUse use;
    if (use || QThread::currentThread() == state().applicationThread) {
        makeWorkersNow(core, count);
        return;
    }
    const Lock lock(state().mutex);
    state().later.push_back({core, count});
}

void retireWorkers(TaskQueueCore& core)
{
    LaterWorkers dropped{}; // before the lock, so that its core is released after it
    const Lock lock(state().mutex);
    core.isQueueGone = true;
    std::vector<LaterWorkers>& later = state().later;
    const auto found = std::find_if(later.begin(), later.end(),
                                    [&core](const LaterWorkers& each) { return each.core.get() == &core; });
    if (found != later.end()) {
        dropped = std::move(*found);
        later.erase(found);
    }
    retireLocked(core);
}

void hold(TaskWorker& worker)
{
    Lock lock(state().mutex);
    worker.setHeld(true);
    state().changed.notify_all(); // leaveApplication() or end() may be waiting for this thread
    state().changed.wait(lock, [&] { return areEventsDelivered() || (worker.hasRetired() && !haveEnded()); });
    worker.setHeld(false);
}

void takeOver(QThread* thread)
{
    deleteFinishedThreads();
    const Lock lock(state().mutex);
    state().finishedThreads.push_back({std::unique_ptr<QThread>(thread), ThreadEnd()});
}

void end()
{
    if (!enter(Phase::Ended))
        return;
    DispatchedCall::giveUpPending(false);
    wakeWaiters();
    waitUntil([] { return !isAnyStartingOrEnding(); });
}

void endAlone()
{
    state().phase = Phase::Ended; // without the mutex: a thread that is no more may have held it
}

std::string name(EQualityOfService qos, int number)
{
    const std::string suffix = "-" + std::to_string(number);
    const char* const className = qos == eQOS_High         ? "brnHigh"
                                  : qos == eQOS_Low        ? "brnLow"
                                  : qos == eQOS_Background ? "brnBackground"
                                                           : "brnNormal";
    return std::string(className).substr(0, longestThreadName - suffix.size()) + suffix;
}

} // namespace Brennic::Core::WorkerThreads
