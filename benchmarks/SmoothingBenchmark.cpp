/// \file
/// Measures the smoothing of a mesh of more than a million triangles in blocks on a task queue, beside the
/// same loop on oneTBB. Both have two threads, and both are started by a thread that waits.

#include <string>

#include <OpenMesh/Tools/Subdivider/Uniform/LoopT.hh>
#include <QCoreApplication>
#include <benchmark/benchmark.h>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include "MeshFile.h"
#include "Ratios.h"
#include "TaubinSmoother.h"

using Brennic::Core::eQOS_Normal;
using Brennic::Core::TaskQueue;

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

void smoothOnTaskQueue(benchmark::State& state)
{
    const BlockLoop loop = makeTaskLoop(TaskQueue::createQueue(eQOS_Normal, threadCount));
    for (auto iteration : state)
        smoother().iterate(loop);
}
BENCHMARK(smoothOnTaskQueue)->Unit(benchmark::kMillisecond)->UseRealTime();

void smoothOnParallelFor(benchmark::State& state)
{
    tbb::task_arena arena(threadCount);
    const BlockLoop loop = [&arena](std::size_t count, const BlockBody& body) {
        arena.execute([&] {
            tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count),
                              [&body](const auto& range) { body(range.begin(), range.end()); });
        });
    };
    for (auto iteration : state)
        smoother().iterate(loop);
}
BENCHMARK(smoothOnParallelFor)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    smoother(); // made before anything is measured
    return runWithRatios(argc, argv,
                         {{{"smoothing on a task queue / tbb::parallel_for", "smoothOnTaskQueue",
                            "smoothOnParallelFor", 1.05, ""}}});
}
