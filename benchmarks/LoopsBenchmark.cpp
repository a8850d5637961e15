/// \file
/// Measures loops beside tbb::parallel_for, with the same number of threads: the calling one, and workers.
/// Ours count in a progress, which could cancel them; the peer counts nothing.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <QCoreApplication>
#include <benchmark/benchmark.h>
#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/ParallelLoops.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "Ratios.h"

using namespace Brennic::Core;

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

struct Body
{
    const char* name;
    int microseconds; // for each item
    int items;
    double target;
};

constexpr Body bodies[] = {{"1 ms", 1000, 40, 1.05}, {"10 µs", 10, 4000, 1.05}, {"1 µs", 1, 40'000, 1.2}};
constexpr int threadCounts[] = {1, 2, 4};

// Takes the same time in each thread, and uses no memory that threads could contend for.
void compute(std::uint64_t rounds)
{
    std::uint64_t value = rounds;
    for (std::uint64_t i = 0; i < rounds; ++i)
        benchmark::DoNotOptimize(value = value * 6'364'136'223'846'793'005U + 1);
}

std::uint64_t roundsPerMicrosecond()
{
    static const std::uint64_t result = [] {
        constexpr std::uint64_t rounds = 1'000'000;
        double best = 1e9;
        for (int i = 0; i < 20; ++i) {
            const auto start = Clock::now();
            compute(rounds);
            best = std::min(best, Microseconds(Clock::now() - start).count());
        }
        return static_cast<std::uint64_t>(rounds / best);
    }();
    return result;
}

std::shared_ptr<TaskQueue> queueFor(int threads)
{
    return TaskQueue::createQueue(eQOS_Normal, std::max(1, threads - 1));
}

void ours(benchmark::State& state, const Body& body, int threads, std::size_t grain)
{
    const std::shared_ptr<TaskQueue> queue = queueFor(threads);
    const std::uint64_t rounds = roundsPerMicrosecond() * static_cast<std::uint64_t>(body.microseconds);
    for (auto iteration : state) {
        LoopOptions options;
        options.queue = queue.get();
        options.grain = grain;
        options.maxWorkers = threads;
        options.progress = std::make_shared<Progress>(body.items);
        const ELoopEnd end = parallelFor(
            0, body.items,
            [rounds](int first, int last) {
                for (int item = first; item < last; ++item)
                    compute(rounds);
            },
            options);
        if (end != eLoop_Completed || options.progress->getCompletedUnitCount() != body.items)
            state.SkipWithError("not every item was counted");
    }
}

void peer(benchmark::State& state, const Body& body, int threads)
{
    const tbb::global_control allowed(tbb::global_control::max_allowed_parallelism,
                                      static_cast<std::size_t>(std::max(threads, 2)));
    tbb::task_arena arena(threads);
    const std::uint64_t rounds = roundsPerMicrosecond() * static_cast<std::uint64_t>(body.microseconds);
    for (auto iteration : state)
        arena.execute([&] {
            tbb::parallel_for(tbb::blocked_range<int>(0, body.items), [rounds](const auto& range) {
                for (int item = range.begin(); item < range.end(); ++item)
                    compute(rounds);
            });
        });
}

// The times from a cancel by another thread to the return of the loop, in percent of the longest grain that ran
// then. The grains are timed, since on a busy machine they take longer than was computed. What other work takes
// from the thread that cancels, or from the calling one after its grain, is part of the time. Sorted.
std::vector<double> timesToCancel(int threads)
{
    constexpr int runs = 51;
    constexpr int grainMicroseconds = 5000;
    const std::shared_ptr<TaskQueue> queue = queueFor(threads);
    const std::uint64_t rounds = roundsPerMicrosecond() * grainMicroseconds;
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        LoopOptions options;
        options.queue = queue.get();
        options.grain = 1;
        options.maxWorkers = threads;
        options.progress = std::make_shared<Progress>();
        Clock::time_point cancelled;
        std::thread other([&] {
            std::this_thread::sleep_for(std::chrono::microseconds(3 * grainMicroseconds + 97 * run));
            cancelled = Clock::now();
            options.progress->cancel();
        });
        std::atomic<Clock::rep> longest{0};
        const ELoopEnd end = parallelFor(
            0, 1'000'000,
            [&](int, int) {
                const auto begin = Clock::now();
                compute(rounds);
                if (!options.progress->isCancelled())
                    return;
                const Clock::rep time = (Clock::now() - begin).count();
                for (Clock::rep known = longest; known < time && !longest.compare_exchange_weak(known, time);)
                    continue;
            },
            options);
        const Clock::duration untilReturn = Clock::now() - cancelled;
        other.join();
        if (end == eLoop_Cancelled && longest > 0)
            times.push_back(100 * static_cast<double>(untilReturn.count()) / static_cast<double>(longest));
    }
    std::sort(times.begin(), times.end());
    return times;
}

template <typename Function>
void add(const std::string& name, Function function)
{
    benchmark::RegisterBenchmark(name.c_str(), function)
        ->MeasureProcessCPUTime()
        ->UseRealTime()
        ->Iterations(5)
        ->Unit(benchmark::kMillisecond);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Comparison comparison;
    for (const Body& body : bodies)
        for (const int threads : threadCounts) {
            const std::string name = std::string(body.name) + ", " + std::to_string(threads) +
                                     (threads == 1 ? " thread" : " threads");
            const std::string given = "parallelFor: grains of " + name;
            const std::string chosen = "parallelFor, chosen grain: items of " + name;
            const std::string peers = "tbb::parallel_for: items of " + name;
            add(given, [body, threads](benchmark::State& state) { ours(state, body, threads, 1); });
            add(chosen, [body, threads](benchmark::State& state) { ours(state, body, threads, 0); });
            add(peers, [body, threads](benchmark::State& state) { peer(state, body, threads); });
            comparison.ratios.push_back(
                {"loop, grains of " + name + " / tbb::parallel_for", given, peers, body.target, ""});
            comparison.ratios.push_back({"loop, chosen grains, items of " + name + " / tbb::parallel_for",
                                         chosen, peers, body.target, ""});
        }
    for (const int threads : threadCounts) {
        const std::vector<double> times = timesToCancel(threads);
        if (times.empty())
            continue; // no loop was cancelled
        const std::string what =
            "cancel() to return, " + std::to_string(threads) + (threads == 1 ? " thread" : " threads");
        comparison.figures.push_back({what + ", median", times[times.size() / 2], 100, "% of a grain"});
        const std::string highest = ", highest of " + std::to_string(times.size());
        comparison.figures.push_back({what + highest, times.back(), 100, "% of a grain"});
    }
    return runWithRatios(argc, argv, comparison);
}
