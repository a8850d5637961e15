#include <brn_mesh_kernel/tasks/Watchdog.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <brn_mesh_kernel/library/Process.h>
#include <brn_mesh_kernel/tasks/TaskQueueCore.h>

namespace Brennic::Core {

namespace {

using Cores = std::vector<std::shared_ptr<TaskQueueCore>>;

// A worker counts as late at the second tick after it was notified: after 2 to 4 ms. An event arrives in
// microseconds, so a worker that is merely waking up is not taken for late.
constexpr std::chrono::milliseconds tick{2};

// How long the thread waits for a queue to watch before it ends.
constexpr std::chrono::seconds rest{1};

struct State
{
    std::mutex mutex;
    std::condition_variable added;
    Cores cores; // to be watched, and not yet taken over by the thread; guarded by mutex, like the next
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
        lock.unlock(); // neither is an event posted nor a core released under it
        std::this_thread::sleep_for(tick);
        const auto isDone = [](const std::shared_ptr<TaskQueueCore>& core) { return !relieve(*core); };
        watched.erase(std::remove_if(watched.begin(), watched.end(), isDone), watched.end());
        lock.lock();
    }
    state().hasThread = false;
}

} // namespace

void Watchdog::watch(const std::shared_ptr<TaskQueueCore>& core)
{
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        state().cores.push_back(core);
        // Where there is no thread to be had, the next call tries again.
        if (state().hasThread || (state().hasThread = startThread(&run))) {
            state().added.notify_one();
            return;
        }
        state().cores.pop_back();
    }
    // Without a thread nobody would notice a late worker. Two ticks at once make the notified one count as
    // late, so that all idle workers are notified. Further ticks end the watch, and the scheduler asks for
    // one again when it needs it.
    for (int ticks = 0; ticks < 2; ++ticks)
        relieve(*core);
    while (relieve(*core))
        continue;
}

} // namespace Brennic::Core
