/// \file
/// What dispatching a callable costs, beside what Qt offers for the same. All submitting from one thread.

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QSemaphore>
#include <QThread>
#include <QThreadPool>
#include <QtConcurrent>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "GuiThread.h"
#include "Ratios.h"
#include "peers/QueuedCalls.h"

using namespace Brennic::Core;

namespace {

constexpr int manyTasks = 100'000;
constexpr int fewTasks = 10'000; // a queued call to each of 16 workers takes long, and 150 bytes each

/// Measures the time of \p work, which deals with \p count callables, per callable.
template <typename Work>
void measurePerCallable(benchmark::State& state, int count, Work work)
{
    for (auto iteration : state) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(time.count() / count);
    }
}

void asManualTime(benchmark::internal::Benchmark* benchmark)
{
    benchmark->UseManualTime()->Iterations(1)->Unit(benchmark::kMicrosecond);
}

/// What `dispatchAsync` does, to a queue with a number of workers of its own.
void dispatch(TaskQueue& queue, const std::function<void()>& function)
{
    queue.addTask(std::make_shared<Task>(function));
}

void dispatchToWorkers(benchmark::State& state, int workers)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, workers);
    measurePerCallable(state, manyTasks, [&] {
        std::atomic<int> left{manyTasks};
        QSemaphore done;
        for (int i = 0; i < manyTasks; ++i)
            dispatch(*queue, [&] {
                if (--left == 0)
                    done.release();
            });
        done.acquire();
    });
}

void dispatch1(benchmark::State& state)
{
    dispatchToWorkers(state, 1);
}
BENCHMARK(dispatch1)->Apply(asManualTime);

void dispatch8(benchmark::State& state)
{
    dispatchToWorkers(state, 8);
}
BENCHMARK(dispatch8)->Apply(asManualTime);

void dispatch16(benchmark::State& state)
{
    dispatchToWorkers(state, 16);
}
BENCHMARK(dispatch16)->Apply(asManualTime);

void concurrentRun1(benchmark::State& state)
{
    QThreadPool pool;
    pool.setMaxThreadCount(1);
    measurePerCallable(state, manyTasks, [&] {
        std::atomic<int> left{manyTasks};
        QSemaphore done;
        for (int i = 0; i < manyTasks; ++i)
            static_cast<void>(QtConcurrent::run(&pool, [&] {
                if (--left == 0)
                    done.release();
            }));
        done.acquire();
    });
}
BENCHMARK(concurrentRun1)->Apply(asManualTime);

void queuedCalls(benchmark::State& state, int workers)
{
    QueuedCalls calls(workers);
    measurePerCallable(state, fewTasks, [&] {
        std::atomic<int> left{fewTasks};
        for (int i = 0; i < fewTasks; ++i)
            calls.run([&] { --left; });
        calls.finish();
    });
}

void queuedCalls8(benchmark::State& state)
{
    queuedCalls(state, 8);
}
BENCHMARK(queuedCalls8)->Apply(asManualTime);

void queuedCalls16(benchmark::State& state)
{
    queuedCalls(state, 16);
}
BENCHMARK(queuedCalls16)->Apply(asManualTime);

void limit8(benchmark::State& state)
{
    for (auto iteration : state)
        state.SetIterationTime(2.5e-6);
}
BENCHMARK(limit8)->Apply(asManualTime);

void limit16(benchmark::State& state)
{
    for (auto iteration : state)
        state.SetIterationTime(6e-6);
}
BENCHMARK(limit16)->Apply(asManualTime);

void dispatchSyncToIdleWorker(benchmark::State& state)
{
    for (auto iteration : state)
        dispatchSync([] {}, eQOS_Normal);
}
BENCHMARK(dispatchSyncToIdleWorker)->UseRealTime();

void blockingQueuedCall(benchmark::State& state)
{
    QThread thread;
    QObject object;
    object.moveToThread(&thread);
    thread.start();
    for (auto iteration : state)
        QMetaObject::invokeMethod(
            &object, [] {}, Qt::BlockingQueuedConnection);
    thread.quit();
    thread.wait();
}
BENCHMARK(blockingQueuedCall)->UseRealTime();

/// Lets \p count GUI callables gather while the GUI thread waits, and measures how long it then takes.
void drainGuiBacklog(benchmark::State& state, int count)
{
    for (auto iteration : state)
        inGuiThread([&] {
            int left = count;
            std::thread([&] {
                for (int i = 0; i < count; ++i)
                    dispatchAsync([&left] { --left; }, eQOS_GUI);
            }).join();
            const auto start = std::chrono::steady_clock::now();
            while (left > 0)
                QCoreApplication::processEvents();
            const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
            state.SetIterationTime(time.count() / count);
        });
}

void drain20000(benchmark::State& state)
{
    drainGuiBacklog(state, 20'000);
}
BENCHMARK(drain20000)->Apply(asManualTime);

void drain80000(benchmark::State& state)
{
    drainGuiBacklog(state, 80'000);
}
BENCHMARK(drain80000)->Apply(asManualTime);

void drain320000(benchmark::State& state)
{
    drainGuiBacklog(state, 320'000);
}
BENCHMARK(drain320000)->Apply(asManualTime);

} // namespace

int main(int argc, char** argv)
{
    return runBesideGuiThread(argc, argv, [&] {
        return runWithRatios(
            argc, argv,
            {{{"dispatch, 1 worker / QtConcurrent::run, 1 thread", "dispatch1", "concurrentRun1", 1.0, ""},
              {"dispatch, 8 workers / 2.5 µs", "dispatch8", "limit8", 1.0, ""},
              {"dispatch, 8 workers / queued call to each", "dispatch8", "queuedCalls8", 0.125, ""},
              {"dispatch, 16 workers / 6 µs", "dispatch16", "limit16", 1.0, ""},
              {"dispatch, 16 workers / queued call to each", "dispatch16", "queuedCalls16", 0.125, ""},
              {"dispatchSync / blocking queued call", "dispatchSyncToIdleWorker", "blockingQueuedCall", 1.1,
               ""},
              {"GUI backlog of 80,000 / of 20,000", "drain80000", "drain20000", 1.5, ""},
              {"GUI backlog of 320,000 / of 20,000", "drain320000", "drain20000", 1.5, ""},
              {"GUI backlog of 20,000 / of 320,000", "drain20000", "drain320000", 1.5, ""}}});
    });
}
