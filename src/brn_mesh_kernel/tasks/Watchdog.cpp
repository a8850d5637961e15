#include <brn_mesh_kernel/tasks/Watchdog.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include <brn_mesh_kernel/library/Process.h>
#include <brn_mesh_kernel/tasks/TaskQueueCore.h>

namespace Brennic::Core {

namespace {

using Cores = std::vector<std::shared_ptr<TaskQueueCore>>;

// A worker counts as late after one tick to two.
constexpr std::chrono::milliseconds tick{2};

// The thread ends after this time without anything to do.
constexpr std::chrono::seconds rest{1};

struct State
{
    std::mutex mutex;
    std::condition_variable added;
    Cores cores; // guarded by mutex, like the next
    bool hasThread = false;
};

// Never destroyed: the thread may run until the process has gone.
State& state()
{
    static State* const instance = new State;
    return *instance;
}

bool relieve(TaskQueueCore& core)
{
    bool isWatched = false;
    core.post(core.scheduler.relieveLate(isWatched));
    return isWatched;
}

void run()
{
    nameCurrentThread("brnWatchdog");
    Cores watched;
    std::unique_lock<std::mutex> lock(state().mutex);
    while (!watched.empty() || state().added.wait_for(lock, rest, [] { return !state().cores.empty(); })) {
        watched.insert(watched.end(), state().cores.begin(), state().cores.end());
        state().cores.clear();
        lock.unlock();
        std::this_thread::sleep_for(tick);
        const auto isDone = [](const std::shared_ptr<TaskQueueCore>& core) { return !relieve(*core); };
        watched.erase(std::remove_if(watched.begin(), watched.end(), isDone), watched.end());
        lock.lock();
    }
    state().hasThread = false;
}

bool startThread()
{
    try {
        std::thread(&run).detach();
        return true;
    } catch (const std::system_error&) {
        return false; // the next that needs it tries again
    }
}

} // namespace

void Watchdog::watch(const std::shared_ptr<TaskQueueCore>& core)
{
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        state().cores.push_back(core);
        if (state().hasThread || (state().hasThread = startThread())) {
            state().added.notify_one();
            return;
        }
        state().cores.pop_back();
    }
    // Without a thread nobody would notice a late worker: notify all that are idle.
    for (int ticks = 0; ticks < 2; ++ticks)
        relieve(*core);
    while (relieve(*core)) // until the queue asks for a watch again
        continue;
}

} // namespace Brennic::Core
