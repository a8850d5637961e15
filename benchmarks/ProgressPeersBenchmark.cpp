/// \file
/// Measures progress that a worker thread reports to a receiver in the GUI thread, which serves its events
/// meanwhile. Counts the calls of the receiver, because some peers leave updates out.

#include <chrono>
#include <string>
#include <thread>

#include <benchmark/benchmark.h>

#include "GuiThread.h"
#include "Ratios.h"
#include "peers/KernelProgress.h"
#include "peers/ProgressReceiver.h"
#include "peers/QueuedProgress.h"
#ifdef BRN_HAS_QPROMISE
#include "peers/PromiseProgress.h"
#endif
#ifdef BRN_HAS_KJOB
#include "peers/JobProgress.h"
#endif

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr int updates = 20'000;

struct Times
{
    Seconds worker;
    Seconds received;
};

template <typename Peer>
Times report(ProgressReceiver& receiver)
{
    Times times{};
    std::thread([&] {
        Peer peer(receiver);
        const auto start = Clock::now();
        for (int value = 1; value <= updates; ++value)
            peer.update(value);
        times.worker = Clock::now() - start;
        receiver.waitUntilComplete();
        times.received = Clock::now() - start;
        inGuiThread([] {}); // returns after the receiver has
    }).join();
    return times;
}

template <typename Peer>
void measure(benchmark::State& state, Seconds Times::*part)
{
    double calls = 0;
    for (auto iteration : state) {
        ProgressReceiver receiver(updates);
        const Times times = report<Peer>(receiver);
        state.SetIterationTime((times.*part).count() / updates);
        calls += receiver.calls();
    }
    state.counters["calls"] = calls / static_cast<double>(state.iterations());
}

template <typename Peer>
void add(const char* column, Seconds Times::*part)
{
    const std::string name = std::string("progress/") + Peer::name + '/' + column;
    benchmark::RegisterBenchmark(name.c_str(),
                                 [part](benchmark::State& state) { measure<Peer>(state, part); })
        ->UseManualTime()
        ->Iterations(10)
        ->Unit(benchmark::kMicrosecond);
}

template <typename Peer>
void addPeer()
{
    add<Peer>("the worker's part", &Times::worker);
    add<Peer>("until received", &Times::received);
}

} // namespace

int main(int argc, char** argv)
{
    addPeer<KernelProgress>();
    addPeer<KernelProgressAtIntervals>();
    addPeer<QueuedProgress>();
#ifdef BRN_HAS_QPROMISE
    addPeer<PromiseProgress>();
#endif
#ifdef BRN_HAS_KJOB
    addPeer<JobProgress<Hears::EveryAmount>>();
    addPeer<JobProgress<Hears::WholePercents>>();
#endif
    Comparison comparison;
#ifdef BRN_HAS_QPROMISE
    comparison.ratios.push_back({"step of a progress at intervals / QPromise::setProgressValue",
                                 "progress/brn_mesh_kernel, intervals/the worker's part",
                                 "progress/QPromise/the worker's part", 1.5, ""});
#endif
    return runBesideGuiThread(argc, argv, [&] { return runWithRatios(argc, argv, comparison); });
}
