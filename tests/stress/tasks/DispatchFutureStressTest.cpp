#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/DispatchFuture.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskGroup.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/Sanitizers.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

constexpr int threadsOfHost = 4;
constexpr int rounds = isSanitized ? 300 : 2000;

class DispatchFutureStress : public TaskFixture
{
protected:
    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 2);

    /// Runs \p function in \p count threads at once, each with its number, and joins them.
    static void inThreads(int count, const std::function<void(int)>& function)
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < count; ++i)
            threads.emplace_back(function, i);
        for (std::thread& thread : threads)
            thread.join();
    }
};

} // namespace

TEST_F(DispatchFutureStress, everyCallEndsByItsValueOrIsCancelled)
{
    std::atomic<int> runs{0};
    std::atomic<int> values{0};
    std::atomic<int> empty{0};
    inThreads(threadsOfHost, [&](int thread) {
        for (int round = 0; round < rounds; ++round) {
            QFuture<int> future = dispatch(
                [&] {
                    ++runs;
                    return 1;
                },
                *queue);
            std::thread other;
            if (round % 8 == 0)
                other = std::thread([future]() mutable { future.cancel(); });
            if (thread % 2 == 0)
                waitFor(future);
            else
                future.waitForFinished();
            if (other.joinable())
                other.join();
            ++(future.resultCount() == 1 ? values : empty);
        }
    });
    EXPECT_EQ(values + empty, threadsOfHost * rounds);
    EXPECT_GE(runs, values);
    EXPECT_GE(values, threadsOfHost * rounds * 7 / 8); // the others were cancelled
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)

// A continuation that is attached while the call ends is run once, by either thread.
TEST_F(DispatchFutureStress, continuationsThatAreAttachedWhileCallsEndRunOnce)
{
    std::atomic<int> runs{0};
    for (int round = 0; round < 10 * rounds; ++round) {
        QFuture<int> future = dispatch([] { return 1; }, *queue);
        if (round % 3 == 1)
            waitFor(future);
        else if (round % 3 == 2)
            future.waitForFinished();
        waitFor(future.then([&](int value) { runs += value; }));
    }
    EXPECT_EQ(runs, 10 * rounds);
}

#endif

TEST_F(DispatchFutureStress, callsThatWaitForCallsAllEnd)
{
    std::atomic<int> sum{0};
    inThreads(threadsOfHost, [&](int) {
        for (int round = 0; round < rounds / 10; ++round)
            waitFor(dispatch(
                [&] {
                    std::vector<QFuture<int>> parts;
                    for (int i = 0; i < 4; ++i)
                        parts.push_back(dispatch([] { return 1; }, *queue));
                    for (const QFuture<int>& part : parts) {
                        waitFor(part);
                        sum += part.result();
                    }
                },
                *queue));
    });
    EXPECT_EQ(sum, threadsOfHost * (rounds / 10) * 4);
}

TEST_F(DispatchFutureStress, groupsEndWhileTheyAreCancelledAndFail)
{
    std::atomic<int> failures{0};
    inThreads(threadsOfHost, [&](int thread) {
        for (int round = 0; round < rounds / 4; ++round) {
            std::atomic<int> inside{0};
            TaskGroup group(*queue);
            for (int i = 0; i < 8; ++i)
                group.dispatch([&, i] {
                    ++inside;
                    if (thread == 0 && i == 3)
                        throw std::runtime_error("part");
                    --inside;
                });
            std::thread other;
            if (thread == 1)
                other = std::thread([&] { group.cancel(); });
            try {
                group.wait();
                EXPECT_EQ(inside, 0);
            } catch (const std::runtime_error&) {
                ++failures;
            }
            if (other.joinable())
                other.join();
        }
    });
    EXPECT_EQ(failures, rounds / 4);
}

TEST_F(DispatchFutureStress, callsEndWhileApplicationObjectsComeAndGo)
{
    std::atomic<bool> isOver{false};
    std::atomic<int> ended{0};
    std::thread host([&] {
        inThreads(threadsOfHost, [&](int thread) {
            while (!isOver) {
                QFuture<int> future = dispatch([] { return 1; }, thread == 0 ? eQOS_GUI : eQOS_Normal);
                waitFor(future);
                ASSERT_TRUE(future.isFinished());
                ASSERT_NE(future.isCanceled(), future.resultCount() == 1);
                ++ended;
            }
        });
    });
    for (int round = 0; round < 50; ++round) {
        const int seen = ended;
        EXPECT_TRUE(serveUntil([&] { return ended > seen + 10; }));
        application.reset();
        application = makeApplication();
    }
    isOver = true;
    EXPECT_TRUE(runAside([&] { host.join(); }));
}

// The GUI thread and a worker begin to wait for each other, in any order.
TEST_F(DispatchFutureStress, ofTwoThreadsThatWaitForEachOtherOneGoesOn)
{
    const std::shared_ptr<TaskQueue> one = TaskQueue::createQueue(eQOS_Normal, 1);
    int refused = 0;
    for (int round = 0; round < rounds; ++round) {
        std::atomic<bool> hasBegun{false};
        std::atomic<bool> inner{true};
        const auto task = std::make_shared<Task>([&] {
            hasBegun = true;
            inner = dispatchSync([] {}, eQOS_GUI);
        });
        one->addTask(task);
        while (round % 2 == 0 && !hasBegun)
            std::this_thread::yield();
        if (round % 3 == 0) { // what the GUI thread waits for is pending behind the task
            waitFor(dispatch([] {}, *one));
            EXPECT_TRUE(serveUntil([&] { return task->getTaskState() == Task::eFinished; }));
        }
        task->waitTillFinished();
        refused += inner ? 0 : 1;
    }
    EXPECT_GT(refused, 0);
}

// Threads wait for the GUI thread all the time, and it for workers that wait for nobody: every wait ends.
TEST_F(DispatchFutureStress, noWaitThatCanEndIsRefused)
{
    std::atomic<bool> isOver{false};
    std::atomic<int> refused{0};
    std::atomic<int> served{0};
    for (int i = 0; i < 2; ++i)
        dispatchAsync(
            [&] {
                while (!isOver) {
                    refused += dispatchSync([&] { ++served; }, eQOS_GUI) ? 0 : 1;
                    refused += dispatchSync([] {}, eQOS_Low) ? 0 : 1;
                }
            },
            i == 0 ? eQOS_Normal : eQOS_Background);
    std::thread host([&] {
        while (!isOver)
            refused += dispatchSync([&] { ++served; }, eQOS_GUI) ? 0 : 1;
    });
    for (int round = 0; round < rounds; ++round) {
        refused += dispatchSync([this] { waitFor(dispatch([] {}, *queue)); }, eQOS_High) ? 0 : 1;
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(serveUntil([&] { return served > 100; }));
    isOver = true;
    EXPECT_TRUE(runAside([&] {
        host.join();
        dispatchSync([] {}, eQOS_Normal); // behind the two that dispatch
        dispatchSync([] {}, eQOS_Background);
    }));
    EXPECT_EQ(refused, 0);
}
