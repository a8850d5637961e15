#include <brn_mesh_kernel/tasks/ApplicationGate.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include <QCoreApplication>
#include <QThread>

#include <brn_mesh_kernel/tasks/TaskWorker.h>
#include <brn_mesh_kernel/tasks/WorkerRegistry.h>

namespace Brennic::Core {

namespace {

enum class GateState
{
    BeforeFirst,
    Open,
    Closed,
    Ended
};

struct Gate
{
    std::atomic<GateState> state{GateState::BeforeFirst};
    std::atomic<const QThread*> applicationThread{nullptr};
    std::mutex mutex; // orders changes of the state with the waits
    std::condition_variable changed;
};

// A worker that is held up in the host's own event handlers must not keep the host from leaving. Long enough
// for a thread of idle priority on a busy machine.
constexpr std::chrono::seconds restLimit{2};

Gate& gate()
{
    static Gate* const instance = new Gate;
    return *instance;
}

// The end is final.
bool enter(GateState state)
{
    const std::lock_guard<std::mutex> lock(gate().mutex);
    if (gate().state == GateState::Ended)
        return false;
    gate().state = state;
    gate().changed.notify_all();
    return true;
}

template <typename Condition>
void waitFor(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + restLimit;
    while (!condition() && std::chrono::steady_clock::now() < end) {
        // A worker that starts a task at this moment comes to rest without a word, hence the short wait.
        std::unique_lock<std::mutex> lock(gate().mutex);
        gate().changed.wait_for(lock, std::chrono::milliseconds(1));
    }
}

} // namespace

void ApplicationGate::watch()
{
    gate().applicationThread = QThread::currentThread();
    qAddPreRoutine(&ApplicationGate::open); // called at once if there is an application object
}

bool ApplicationGate::isOpen()
{
    return gate().state == GateState::Open;
}

bool ApplicationGate::hasEnded()
{
    return gate().state == GateState::Ended;
}

bool ApplicationGate::hasClosed()
{
    const GateState state = gate().state;
    return state == GateState::Closed || state == GateState::Ended;
}

bool ApplicationGate::isApplicationThread()
{
    return QThread::currentThread() == gate().applicationThread;
}

bool ApplicationGate::isHopelessHere()
{
    return hasClosed() || (!isOpen() && isApplicationThread());
}

void ApplicationGate::hold(TaskWorker& worker)
{
    std::unique_lock<std::mutex> lock(gate().mutex);
    worker.setHeld(true);
    gate().changed.notify_all();
    gate().changed.wait(
        lock, [&worker] { return gate().state == GateState::Open || (worker.hasRetired() && !hasEnded()); });
    worker.setHeld(false);
}

void ApplicationGate::lookAgain()
{
    const std::lock_guard<std::mutex> lock(gate().mutex);
    gate().changed.notify_all();
}

void ApplicationGate::open()
{
    if (!enter(GateState::Open))
        return;
    qAddPostRoutine(&ApplicationGate::close); // Qt forgets it once it has been called
    WorkerRegistry::instance().wakeAll();
}

void ApplicationGate::close()
{
    enter(GateState::Closed);
    WorkerRegistry::instance().wakeWaiters();
    waitFor([] { return WorkerRegistry::instance().areAllAtRest(); });
}

void ApplicationGate::end()
{
    if (!enter(GateState::Ended))
        return;
    WorkerRegistry::instance().wakeWaiters();
    // A thread that starts or ends is in Qt's hands, and Qt's own static objects are about to go.
    waitFor([] { return !WorkerRegistry::instance().isAnyComingOrGoing(); });
}

void ApplicationGate::endAlone()
{
    gate().state = GateState::Ended; // the mutex may be held for ever
}

} // namespace Brennic::Core
