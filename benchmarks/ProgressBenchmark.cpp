/// \file
/// Measures one progress update: in a tree of depth 3 without receivers, beside one dispatch to the GUI queue
/// for each level, with a receiver in the GUI thread, and while an interval leaves reports out. Counts time, allocations, and memory while a call
/// is pending. Also measures building a tree.

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include <QCoreApplication>

#include <brn_mesh_kernel/objects/Broadcaster.h>
#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>

#include "GuiThread.h"
#include "Ratios.h"

using namespace Brennic::Core;

namespace {

thread_local std::size_t t_allocations = 0;

} // namespace

// These replace the standard library's in the whole process, and count allocations.
void* operator new(std::size_t size)
{
    ++t_allocations;
    void* const memory = std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace {

constexpr int levels = 3;
constexpr int updates = 20'000;

/// The allocations of the GUI thread, after everything that was pending there has run.
std::size_t allocationsOfGuiThread()
{
    std::size_t count = 0;
    dispatchSync([] {}, eQOS_GUI);
    inGuiThread([&] { count = t_allocations; });
    return count;
}

/// Measures one of many calls of \p work while the GUI thread is blocked. What they leave pending there runs
/// after the clock has stopped, so that no core is shared with it.
template <typename Work>
void measureBesideIdleGui(benchmark::State& state, Work work)
{
    std::size_t allocations = 0; // those of both threads
    for (auto iteration : state) {
        const std::size_t before = allocationsOfGuiThread();
        inGuiThread([&] {
            std::thread([&] {
                const std::size_t beforeWork = t_allocations;
                const auto start = std::chrono::steady_clock::now();
                for (int i = 0; i < updates; ++i)
                    work();
                const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
                allocations += t_allocations - beforeWork;
                state.SetIterationTime(time.count() / updates);
            }).join();
        });
        allocations += allocationsOfGuiThread() - before;
    }
    state.counters["allocations"] = static_cast<double>(allocations) / (updates * double(state.iterations()));
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

struct IdleReceiver final : ProgressReportingProtocol
{
};

void progressUpdateWithReceiver(benchmark::State& state)
{
    const auto receiver = std::make_shared<IdleReceiver>();
    Progress progress(1'000'000'000, L"Smoothing");
    progress.setDelegate(receiver, true);
    measureBesideIdleGui(state, [&] { ++progress; });
}
BENCHMARK(progressUpdateWithReceiver)->Apply(asManualTime);

constexpr std::chrono::hours longInterval{1}; // it does not pass

/// Measures one of many steps that an interval leaves out.
void measureSteps(benchmark::State& state, Progress& stepped)
{
    ++stepped; // reported
    const std::size_t before = t_allocations;
    for (auto step : state)
        ++stepped;
    state.counters["allocations"] =
        static_cast<double>(t_allocations - before) / static_cast<double>(state.iterations());
}

void stepBetweenReports(benchmark::State& state)
{
    const auto receiver = std::make_shared<IdleReceiver>();
    Progress progress(1'000'000'000, L"Smoothing");
    progress.setDelegate(receiver, true);
    progress.setReportInterval(longInterval);
    measureSteps(state, progress);
}
BENCHMARK(stepBetweenReports);

/// The same where the root of so many levels has the receiver, and the leaf is stepped.
void stepBelowLevels(benchmark::State& state)
{
    const auto receiver = std::make_shared<IdleReceiver>();
    std::vector<std::shared_ptr<Progress>> tree = {std::make_shared<Progress>(0, L"root")};
    for (auto level = state.range(0); level > 1; --level) {
        tree.push_back(std::make_shared<Progress>(1'000'000'000, L"part"));
        tree[tree.size() - 2]->addChildWithPendingCount(tree.back(), 1'000'000'000);
    }
    tree.front()->setDelegate(receiver, true);
    tree.front()->setReportInterval(longInterval);
    measureSteps(state, *tree.back());
}
BENCHMARK(stepBelowLevels)->Arg(2)->Arg(3);

void dispatch(benchmark::State& state)
{
    measureBesideIdleGui(state, [] { dispatchAsync([] {}, eQOS_GUI); });
}
BENCHMARK(dispatch)->Apply(asManualTime);

/// Measures one of many additions to the same parent, with the making of the object that is added.
void childrenOfOneParent(benchmark::State& state)
{
    const auto count = static_cast<int>(state.range(0));
    std::size_t allocations = 0;
    for (auto iteration : state) {
        const auto parent = std::make_shared<Progress>(0, L"parent");
        const std::size_t before = t_allocations;
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < count; ++i)
            parent->addChildWithPendingCount(std::make_shared<Progress>(10, L"child"), 1);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        allocations += t_allocations - before;
        state.SetIterationTime(time.count() / count);
    }
    state.counters["allocations"] = static_cast<double>(allocations) / (count * double(state.iterations()));
}

void thousandChildren(benchmark::State& state)
{
    childrenOfOneParent(state);
}
BENCHMARK(thousandChildren)->Arg(1'000)->UseManualTime()->Iterations(5)->Unit(benchmark::kNanosecond);

void manyChildren(benchmark::State& state)
{
    childrenOfOneParent(state);
}
BENCHMARK(manyChildren)->Arg(32'000)->UseManualTime()->Iterations(1)->Unit(benchmark::kNanosecond);

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
        const auto receiver = std::make_shared<IdleReceiver>();
        Broadcaster<ProgressReportingProtocol> broadcaster;
        broadcaster.addObserver(receiver, true);
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
        const double bytes = bytesOfPendingCallable(); // first, while the heap has no holes for it
        return runWithRatios(
            argc, argv,
            {{{"update of a tree of depth 3 / 3 dispatches", "progressUpdate", "dispatchPerLevel", 3.0, ""},
              {"update with a receiver / a dispatch", "progressUpdateWithReceiver", "dispatch", 0, ""},
              {"step between reports / update with a receiver", "stepBetweenReports",
               "progressUpdateWithReceiver", 0, ""},
              {"one of 32,000 children / of 1,000", "manyChildren", "thousandChildren", 2.0, ""}},
             {{"pending callable of a broadcast to one observer", bytes, 800, "bytes"}}});
    });
}
