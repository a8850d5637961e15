/// \file
/// Measures the same tiny callables on a queue of the library and on its peers, with the same number of
/// workers. Before a peer is measured it must run as many callables at the same time as it has workers.

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include <benchmark/benchmark.h>

#include "Bursts.h"
#include "GuiThread.h"
#include "Ratios.h"
#include "peers/KernelQueue.h"
#include "peers/QtConcurrentRun.h"
#include "peers/QtThreadPool.h"
#include "peers/QueuedCalls.h"
#include "peers/TbbArena.h"
#ifdef BRN_HAS_THREADWEAVER
#include "peers/ThreadWeaverQueue.h"
#endif

namespace {

constexpr int callables = 20'000;
constexpr int workersOfProducers = 4;

template <typename Peer>
std::unique_ptr<Peer> makePeer(benchmark::State& state, int workers)
{
    auto peer = std::make_unique<Peer>(workers);
    const HeldWorkers held(*peer, workers, [] {});
    if (!held.areAllHeld())
        state.SkipWithError("not all of its workers run at the same time");
    return peer;
}

template <typename Peer>
void dispatch(benchmark::State& state, int workers)
{
    const auto peer = makePeer<Peer>(state, workers);
    for (auto iteration : state)
        state.SetIterationTime(timeOfBurst(*peer, callables));
}

template <typename Peer>
void produce(benchmark::State& state, int producers)
{
    const auto peer = makePeer<Peer>(state, workersOfProducers);
    for (auto iteration : state)
        state.SetIterationTime(timeOfBurst(*peer, callables, producers));
}

/// Measures one callable, from the call until the waiting thread goes on. Before each call idle workers may
/// have \p rest to go to sleep.
template <typename Peer>
void wait(benchmark::State& state, int workers, std::chrono::microseconds rest)
{
    const auto peer = makePeer<Peer>(state, workers);
    for (auto iteration : state) {
        if (rest.count() != 0)
            std::this_thread::sleep_for(rest);
        const auto start = Clock::now();
        peer->run([] { allDone().release(); });
        allDone().acquire();
        state.SetIterationTime(Seconds(Clock::now() - start).count());
    }
}

template <typename Function>
void add(const std::string& name, int iterations, Function function)
{
    benchmark::RegisterBenchmark(name.c_str(), function)
        ->UseManualTime()
        ->Iterations(iterations)
        ->Unit(benchmark::kMicrosecond);
}

std::string counted(int count, const char* what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

template <typename Peer>
void addPeer()
{
    const std::string library = std::string("/") + Peer::name + '/';
    for (const int count : {1, 2, 4, 8, 16}) {
        add("dispatch" + library + counted(count, "worker"), 5,
            [count](benchmark::State& state) { dispatch<Peer>(state, count); });
        add("producers" + library + counted(count, "producer"), 5,
            [count](benchmark::State& state) { produce<Peer>(state, count); });
    }
    for (const int workers : {1, 8}) {
        add("latency" + library + "in a row, " + counted(workers, "worker"), 2000,
            [workers](benchmark::State& state) { wait<Peer>(state, workers, {}); });
        add("latency" + library + "after 2 ms, " + counted(workers, "worker"), 100,
            [workers](benchmark::State& state) { wait<Peer>(state, workers, std::chrono::milliseconds(2)); });
    }
}

} // namespace

int main(int argc, char** argv)
{
    addPeer<KernelQueue>();
    addPeer<QtThreadPool>();
    addPeer<QtConcurrentRun>();
    addPeer<TbbArena>();
#ifdef BRN_HAS_THREADWEAVER
    addPeer<ThreadWeaverQueue>();
#endif
    addPeer<QueuedCalls>();
    return runBesideGuiThread(argc, argv, [&] { return runWithRatios(argc, argv, {}); });
}
