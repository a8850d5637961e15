/// \file
/// What one progress update costs in a tree of depth 3 without receivers, beside the dispatch to the GUI
/// queue that every level makes, and what a pending GUI callable takes of memory.

#include <chrono>
#include <fstream>
#include <memory>
#include <thread>

#include <benchmark/benchmark.h>

#include <QCoreApplication>

#include <brn_mesh_kernel/objects/Broadcaster.h>
#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>

#include "GuiThread.h"
#include "Ratios.h"

using namespace Brennic::Core;

namespace {

constexpr int levels = 3;
constexpr int updates = 20'000;

/// Measures one of many calls of \p work in this thread, while the GUI thread is idle: what gathers for it is
/// served in between, out of the measurement.
template <typename Work>
void measureBesideIdleGui(benchmark::State& state, Work work)
{
    for (auto iteration : state) {
        inGuiThread([&] {
            std::thread([&] {
                const auto start = std::chrono::steady_clock::now();
                for (int i = 0; i < updates; ++i)
                    work();
                const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
                state.SetIterationTime(time.count() / updates);
            }).join();
        });
        dispatchSync([] {}, eQOS_GUI);
    }
}

void asManualTime(benchmark::internal::Benchmark* benchmark)
{
    benchmark->UseManualTime()->Iterations(5)->Unit(benchmark::kNanosecond);
}

void progressUpdate(benchmark::State& state)
{
    const auto root = std::make_shared<Progress>(0, L"root");
    const auto middle = std::make_shared<Progress>(0, L"middle");
    const auto leaf = std::make_shared<Progress>(1'000'000'000, L"leaf");
    root->addChildWithPendingCount(middle, 1'000'000);
    middle->addChildWithPendingCount(leaf, 1'000'000);
    measureBesideIdleGui(state, [&] { ++*leaf; });
}
BENCHMARK(progressUpdate)->Apply(asManualTime);

void dispatchPerLevel(benchmark::State& state)
{
    measureBesideIdleGui(state, [] {
        for (int level = 0; level < levels; ++level)
            dispatchAsync([] {}, eQOS_GUI);
    });
}
BENCHMARK(dispatchPerLevel)->Apply(asManualTime);

std::size_t residentBytes()
{
    constexpr std::size_t pageSize = 4096;
    std::size_t size = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * pageSize;
}

double bytesOfPendingCallable()
{
    constexpr int count = 200'000;
    double bytes = 0;
    inGuiThread([&] {
        Broadcaster<ProgressReportingProtocol> broadcaster;
        std::thread([&] {
            const std::size_t before = residentBytes();
            for (int i = 0; i < count; ++i)
                broadcaster.broadcast(&ProgressReportingProtocol::progressUpdated, nullptr, 0.5F, L"step");
            bytes = static_cast<double>(residentBytes() - before) / count;
        }).join();
    });
    dispatchSync([] {}, eQOS_GUI);
    return bytes;
}

} // namespace

int main(int argc, char** argv)
{
    return runBesideGuiThread(argc, argv, [&] {
        const double bytes = bytesOfPendingCallable(); // first, while the heap has no holes to fill
        return runWithRatios(
            argc, argv,
            {{{"update of a tree of depth 3 / 3 dispatches", "progressUpdate", "dispatchPerLevel", 3.0, ""}},
             {{"pending callable of a broadcast without observers", bytes, 800, "bytes"}}});
    });
}
