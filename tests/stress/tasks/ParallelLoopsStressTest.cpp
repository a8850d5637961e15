#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/ParallelLoops.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/HostObjects.h"
#include "support/Sanitizers.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

constexpr int threadsOfHost = 3;
constexpr int loopsPerThread = isSanitized ? 300 : 3000;

LoopOptions optionsFor(const std::shared_ptr<TaskQueue>& queue, std::size_t grain)
{
    LoopOptions options;
    options.queue = queue.get();
    options.grain = grain;
    return options;
}

class ParallelLoopsStress : public TaskFixture
{
protected:
    template <typename Function>
    static void inThreads(const Function& function)
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < threadsOfHost; ++i)
            threads.emplace_back([&function] {
                for (int loop = 0; loop < loopsPerThread; ++loop)
                    function(loop);
            });
        for (std::thread& thread : threads)
            thread.join();
    }

    // Plain integers on the caller's stack: a helper that comes too late, or is not waited for, races with
    // it.
    static void takeEachOnce(const std::shared_ptr<TaskQueue>& queue, std::size_t grain,
                             std::size_t count = 64)
    {
        std::vector<int> taken(count);
        const ELoopEnd end = parallelFor(
            std::size_t{0}, count,
            [&taken](std::size_t first, std::size_t last) {
                for (std::size_t i = first; i < last; ++i)
                    ++taken[i];
                if (first % 2 == 0) // so that helpers come in time for some loops, and late for others
                    spinFor(std::chrono::microseconds(1));
            },
            optionsFor(queue, grain));
        EXPECT_EQ(end, eLoop_Completed);
        EXPECT_EQ(taken, std::vector<int>(count, 1));
    }

    std::shared_ptr<TaskQueue> m_queue = TaskQueue::createQueue(eQOS_Normal, 3);
};

} // namespace

TEST_F(ParallelLoopsStress, shortLoopsOfManyThreadsTakeEachItemOnce)
{
    inThreads([this](int loop) { takeEachOnce(m_queue, static_cast<std::size_t>(loop % 5)); });
}

TEST_F(ParallelLoopsStress, loopsInTasksAndInLoopsTakeEachItemOnce)
{
    inThreads([this](int loop) {
        if (loop % 4 == 0)
            addTask(m_queue, [this] { takeEachOnce(m_queue, 7); })->waitTillFinished();
        else
            EXPECT_EQ(parallelFor(
                          0, 4, [this](int, int) { takeEachOnce(m_queue, 3, 16); }, optionsFor(m_queue, 1)),
                      eLoop_Completed);
    });
}

TEST_F(ParallelLoopsStress, whatIsDoneIsCountedWheneverALoopIsCancelled)
{
    inThreads([this](int loop) {
        LoopOptions options = optionsFor(m_queue, 1);
        options.progress = std::make_shared<Progress>(1000);
        std::atomic<int> done{0};
        const int limit = loop % 100;
        const ELoopEnd end = parallelFor(
            0, 1000,
            [&](int, int) {
                if (++done == limit)
                    options.progress->cancel();
            },
            options);
        EXPECT_EQ(end, done == 1000 ? eLoop_Completed : eLoop_Cancelled);
        EXPECT_EQ(options.progress->getCompletedUnitCount(), done);
    });
}

TEST_F(ParallelLoopsStress, ofManyExceptionsEachLoopThrowsOne)
{
    std::atomic<int> caught{0};
    inThreads([&](int loop) {
        try {
            static_cast<void>(parallelFor(
                0, 64,
                [loop](int begin, int) {
                    if (begin >= loop % 16)
                        throw std::runtime_error("part");
                },
                optionsFor(m_queue, 1)));
        } catch (const std::runtime_error&) {
            ++caught;
        }
    });
    EXPECT_EQ(caught, threadsOfHost * loopsPerThread);
}

TEST_F(ParallelLoopsStress, reductionsHaveTheirResultWhileQueuesComeAndGo)
{
    inThreads([](int loop) {
        if (loop % 20 != 0) // each queue makes threads
            return;
        auto queue = TaskQueue::createQueue(eQOS_Normal, 2);
        const LoopOptions options = optionsFor(queue, 2);
        const std::optional<int> sum = parallelReduce(
            0, 100, 0,
            [&queue](int begin, int end) {
                if (begin == 10)
                    queue.reset();
                return end - begin;
            },
            [](int left, int right) { return left + right; }, options);
        EXPECT_EQ(sum, 100);
    });
}

TEST_F(ParallelLoopsStress, loopsEndWhileApplicationsComeAndGo)
{
    std::atomic<bool> isOver{false};
    std::thread host([&] {
        inThreads([this](int loop) { takeEachOnce(m_queue, static_cast<std::size_t>(loop % 3)); });
        isOver = true;
    });
    while (!isOver) {
        application.reset();
        application = makeApplication();
        QThread::yieldCurrentThread();
    }
    host.join();
}
