/// \file
/// Counts what a small callable takes while nobody is connected to `newTaskArrived`: allocations and locks in
/// bursts and backlogs, and memory while it is pending. Writes a line for each figure: what it is, its value,
/// its limit (0 for none) and its unit, with "|" between them.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "Bursts.h"
#include "CallCounter.h"
#include "GuiThread.h"
#include "peers/GuiQueuedCall.h"
#include "peers/KernelDispatch.h"
#include "peers/KernelQueue.h"
#include "peers/QtThreadPool.h"

namespace {

constexpr int callables = 20'000;
constexpr int pendingCallables = 200'000;
constexpr int repetitions = 7;

void write(const char* what, double value, double limit, const char* unit)
{
    std::printf("%s|%f|%g|%s\n", what, value, limit, unit);
}

template <typename Measure>
double median(Measure measure)
{
    std::vector<double> values;
    for (int i = 0; i < repetitions; ++i)
        values.push_back(measure());
    std::sort(values.begin(), values.end());
    return values[repetitions / 2];
}

/// Counts for each callable of a burst, with what it takes to wake the workers. All threads have been started
/// before.
template <typename Peer>
double countInBurst(int workers, std::uint64_t CallCounts::*what)
{
    return median([&] {
        Peer peer(workers);
        HeldWorkers(peer, workers, [] {}).release();
        const CallCounts before = callCounts();
        timeOfBurst(peer, callables);
        return static_cast<double>(callCounts().*what - before.*what) / callables;
    });
}

/// Counts for each callable of a backlog, where no worker has to be woken.
template <typename Peer>
double countInBacklog(std::uint64_t CallCounts::*what)
{
    return median([&] {
        Peer peer(1);
        HeldWorkers(peer, 1, [] {}).release();
        const CallCounts before = callCounts();
        timeOfBacklog(peer, 1, callables);
        return static_cast<double>(callCounts().*what - before.*what) / callables;
    });
}

template <typename Peer>
double bytesOfPendingCallable()
{
    return median([] {
        Peer peer(1);
        HeldWorkers held(peer, 1, [] {});
        std::atomic<int> left{pendingCallables};
        const std::size_t before = heapBytes();
        runMany(peer, pendingCallables, left);
        const auto bytes = static_cast<double>(heapBytes() - before);
        held.release();
        allDone().acquire();
        return bytes / pendingCallables;
    });
}

/// Whether the counters work: those that count nothing would reach every target.
bool isEverythingCounted()
{
    const CallCounts before = callCounts();
    void* volatile block = std::malloc(1);
    std::free(block);
    std::mutex mutex;
    mutex.lock();
    mutex.unlock();
    const CallCounts after = callCounts();
    return after.allocations > before.allocations && after.locks > before.locks;
}

void measure()
{
    using KernelGui = KernelDispatch<Brennic::Core::eQOS_GUI>;
    constexpr auto allocations = &CallCounts::allocations;
    constexpr auto locks = &CallCounts::locks;
    write("allocations of a callable, backlog of 1 worker", countInBacklog<KernelQueue>(allocations), 1, "");
    write("allocations of a callable, burst to 1 worker", countInBurst<KernelQueue>(1, allocations), 1, "");
    write("allocations of a callable, burst to 4 workers", countInBurst<KernelQueue>(4, allocations), 0, "");
    write("allocations of a callable, burst to 4 workers, QThreadPool",
          countInBurst<QtThreadPool>(4, allocations), 0, "");
    write("mutex locks of a callable, backlog of 1 worker", countInBacklog<KernelQueue>(locks), 2, "");
    write("mutex locks of a callable, burst to 1 worker", countInBurst<KernelQueue>(1, locks), 2, "");
    write("mutex locks of a callable, burst to 4 workers", countInBurst<KernelQueue>(4, locks), 0, "");
    write("pending callable of the GUI thread", bytesOfPendingCallable<KernelGui>(), 160, "bytes");
    write("pending queued call to the GUI thread", bytesOfPendingCallable<GuiQueuedCall>(), 0, "bytes");
}

} // namespace

int main(int argc, char** argv)
{
    if (!isEverythingCounted()) {
        std::fprintf(stderr, "task_counts: the C library is used past the counter\n");
        return 1;
    }
    return runBesideGuiThread(argc, argv, [] {
        measure();
        return 0;
    });
}
