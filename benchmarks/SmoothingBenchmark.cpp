/// \file
/// Measures the smoothing of a mesh of more than a million triangles by parallelFor, beside the same loop on
/// oneTBB. Both have two threads, of which the calling one is one.

#include <memory>
#include <string>

#include <OpenMesh/Tools/Subdivider/Uniform/LoopT.hh>
#include <QCoreApplication>
#include <benchmark/benchmark.h>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <brn_mesh_kernel/tasks/ParallelLoops.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "MeshFile.h"
#include "Ratios.h"
#include "TaubinSmoother.h"

using namespace Brennic::Core;

namespace {

constexpr int threadCount = 2;
constexpr const char* meshPath = "/usr/share/glmark2/models/bunny.obj";

TaubinSmoother& smoother()
{
    static TaubinSmoother instance = [] {
        Mesh mesh = loadMesh(meshPath);
        OpenMesh::Subdivider::Uniform::LoopT<Mesh> subdivider;
        subdivider.attach(mesh);
        subdivider(2);
        subdivider.detach();
        return TaubinSmoother(mesh);
    }();
    return instance;
}

void smoothByParallelFor(benchmark::State& state)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, threadCount - 1);
    LoopOptions options;
    options.queue = queue.get();
    options.maxWorkers = threadCount;
    for (auto iteration : state)
        if (smoother().iterate(options) != eLoop_Completed)
            state.SkipWithError("was cancelled");
}
BENCHMARK(smoothByParallelFor)->Unit(benchmark::kMillisecond)->UseRealTime();

void smoothByTbb(benchmark::State& state)
{
    tbb::task_arena arena(threadCount);
    const auto loop = [&arena](std::size_t count, const auto& body) {
        arena.execute([&] {
            tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count),
                              [&body](const auto& range) { body(range.begin(), range.end()); });
        });
        return eLoop_Completed;
    };
    for (auto iteration : state)
        smoother().iterateBy(loop);
}
BENCHMARK(smoothByTbb)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    smoother(); // made before anything is measured
    return runWithRatios(
        argc, argv,
        {{{"smoothing by parallelFor / tbb::parallel_for", "smoothByParallelFor", "smoothByTbb", 1.05, ""}}});
}
