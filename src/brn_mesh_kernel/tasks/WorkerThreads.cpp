#include <brn_mesh_kernel/tasks/WorkerThreads.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include <QCoreApplication>
#include <QThread>

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

struct State
{
    std::atomic<Phase> phase{Phase::BeforeApplication}; // changed under mutex
    std::atomic<const QThread*> applicationThread{nullptr};
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Entry> entries;            // guarded by mutex
    std::vector<QThread*> finishedThreads; // guarded by mutex
};

using Lock = std::unique_lock<std::mutex>;

constexpr std::size_t longestThreadName = 15;

// A worker that is held up in the host's own event handlers must not keep the host from leaving. Long enough
// for a thread of idle priority on a busy machine.
constexpr std::chrono::seconds restLimit{2};

State& state()
{
    static State* const instance = new State;
    return *instance;
}

// The end is final.
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
    // Outside the mutex: the last holder of a task may end a queue with its workers.
    std::vector<std::shared_ptr<TaskQueueCore>> cores;
    {
        const Lock lock(state().mutex);
        for (const Entry& entry : state().entries)
            cores.push_back(entry.worker->core().shared_from_this());
    }
    for (const std::shared_ptr<TaskQueueCore>& core : cores)
        core->wakeWaiters();
}

template <typename Condition>
void waitUntil(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + restLimit;
    Lock lock(state().mutex);
    // A worker that starts a task comes to rest without a word, hence the short wait.
    while (!condition() && std::chrono::steady_clock::now() < end)
        state().changed.wait_for(lock, std::chrono::milliseconds(1));
}

bool isAnyStartingOrEnding()
{
    const std::vector<Entry>& entries = state().entries;
    const std::vector<QThread*>& finished = state().finishedThreads;
    return std::any_of(entries.begin(), entries.end(),
                       [](const Entry& entry) { return entry.worker->isStartingOrEnding(); }) ||
           std::any_of(finished.begin(), finished.end(), [](QThread* thread) { return !thread->wait(0); });
}

bool areAllAtRest()
{
    const std::vector<Entry>& entries = state().entries;
    return std::all_of(entries.begin(), entries.end(),
                       [](const Entry& entry) { return entry.worker->isAtRest(); });
}

void deleteFinishedThreads()
{
    std::vector<QThread*> threads;
    {
        const Lock lock(state().mutex);
        threads.swap(state().finishedThreads);
    }
    for (QThread* thread : threads)
        delete thread; // waits for the thread's last steps
}

// The application object is about to go.
void leaveApplication()
{
    enter(Phase::AfterApplication);
    wakeWaiters();
    {
        // They would be delivered by an application object whose destructor has begun.
        const Lock lock(state().mutex);
        for (const Entry& entry : state().entries)
            entry.worker->discardEvents();
    }
    waitUntil(&areAllAtRest);
}

void enterApplication()
{
    if (!enter(Phase::Application))
        return;
    qAddPostRoutine(&leaveApplication); // Qt forgets it once it has been called
    const Lock lock(state().mutex);
    for (const Entry& entry : state().entries)
        entry.worker->resume();
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

std::size_t count()
{
    const Lock lock(state().mutex);
    return state().entries.size();
}

bool start(TaskWorker& worker)
{
    const Lock lock(state().mutex);
    const bool isSafe = areEventsDelivered() || QThread::currentThread() == state().applicationThread;
    return !isSafe || worker.startThread();
}

void retire(TaskWorker& worker)
{
    Lock lock(state().mutex); // the worker's thread takes it before it deletes the worker
    const bool deletesItself = worker.retire();
    state().changed.notify_all();
    lock.unlock();
    if (deletesItself)
        return;
    const std::unique_ptr<QThread> thread(worker.thread());
    delete &worker;
}

void hold(TaskWorker& worker)
{
    Lock lock(state().mutex);
    worker.setHeld(true);
    state().changed.notify_all();
    state().changed.wait(lock, [&] { return areEventsDelivered() || (worker.hasRetired() && !haveEnded()); });
    worker.setHeld(false);
}

void takeOver(QThread* thread)
{
    // Before this thread's own object is listed: no two threads wait for each other.
    deleteFinishedThreads();
    const Lock lock(state().mutex);
    state().finishedThreads.push_back(thread);
}

void end()
{
    if (!enter(Phase::Ended))
        return;
    wakeWaiters();
    waitUntil([] { return !isAnyStartingOrEnding(); });
}

void endAlone()
{
    state().phase = Phase::Ended; // the mutex may be held for ever
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
