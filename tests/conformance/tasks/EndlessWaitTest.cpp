// Waits that nobody could end. Without the library's help each of these tests would hang.
#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QEventLoop>
#include <QTimer>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/DispatchFuture.h>
#include <brn_mesh_kernel/tasks/ParallelLoops.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskGroup.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/KernelFixture.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using ::testing::HasSubstr;

namespace {

class EndlessWait : public KernelFixture
{
protected:
    EndlessWait() { initializeWithPlainLines(); }

    std::unique_ptr<QCoreApplication> application = makeApplication();
    std::shared_ptr<TaskQueue> first = TaskQueue::createQueue(eQOS_Normal, 1);
    std::shared_ptr<TaskQueue> second = TaskQueue::createQueue(eQOS_Normal, 1);

    static std::shared_ptr<Task> add(const std::shared_ptr<TaskQueue>& queue,
                                     const std::function<void()>& function)
    {
        const auto task = std::make_shared<Task>(function);
        queue->addTask(task);
        return task;
    }

    /// The records that tell of a wait that was given up.
    std::vector<std::string> warnings() const
    {
        std::vector<std::string> result;
        for (const std::string& line : logLines())
            if (line.find("cannot end") != std::string::npos)
                result.push_back(line);
        return result;
    }

    /// The GUI thread waits for \p callable, which is pending behind a worker. That cancels it after \p yields, calls
    /// \p beforeWait, and waits for the GUI thread. Returns whether the GUI thread has served it.
    bool isServedAfterCancelling(std::function<void()> callable, int yields,
                                 const std::function<void()>& beforeWait)
    {
        Latch isPending;
        QFuture<void> behind;
        std::atomic<bool> served{false};
        const QFuture<void> worker = dispatch(
            [&] {
                isPending.wait();
                yieldTimes(yields);
                behind.cancel();
                beforeWait();
                served = dispatchSync([] {}, eQOS_GUI);
            },
            *first);
        behind = dispatch(std::move(callable), *first);
        isPending.countDown();
        waitFor(behind);
        EXPECT_TRUE(serveUntil([&] { return worker.isFinished(); }));
        return served;
    }
};

} // namespace

TEST_F(EndlessWait, aWorkerForWhichTheGuiThreadWaitsIsRefusedAWaitForTheGuiThread)
{
    bool hasRun = false;
    bool inner = true;
    EXPECT_TRUE(dispatchSync([&] { inner = dispatchSync([&] { hasRun = true; }, eQOS_GUI); }, eQOS_Normal));
    EXPECT_FALSE(inner);
    EXPECT_FALSE(hasRun);
    ASSERT_EQ(warnings().size(), 1U);
    // Either thread may be the one that has closed the circle.
    EXPECT_THAT(warnings()[0], HasSubstr("These waits cannot end: "));
    EXPECT_THAT(warnings()[0], HasSubstr("the GUI thread waits for a task that is running in brnNormal-"));
    EXPECT_THAT(warnings()[0], HasSubstr(" waits for a task that is pending for the GUI thread"));
    EXPECT_THAT(warnings()[0], HasSubstr(". The wait of brnNormal-"));
}

TEST_F(EndlessWait, theTaskThatWasRefusedDoesNotRunLater)
{
    bool hasRun = false;
    dispatchSync([&] { dispatchSync([&] { hasRun = true; }, eQOS_GUI); }, eQOS_Normal);
    bool isServed = false;
    std::thread([&] { dispatchAsync([&] { isServed = true; }, eQOS_GUI); }).join();
    EXPECT_TRUE(serveUntil([&] { return isServed; }));
    EXPECT_FALSE(hasRun);
}

TEST_F(EndlessWait, eachOfThemIsLoggedOnce)
{
    for (int i = 0; i < 3; ++i)
        dispatchSync([&] { dispatchSync([] {}, eQOS_GUI); }, eQOS_Normal);
    EXPECT_EQ(warnings().size(), 3U);
}

TEST_F(EndlessWait, aLongerCircleIsFound)
{
    bool inner = true;
    add(first, [&] {
        add(second, [&] { inner = dispatchSync([] {}, eQOS_GUI); })->waitTillFinished();
    })->waitTillFinished();
    EXPECT_FALSE(inner);
    ASSERT_EQ(warnings().size(), 1U);
    const std::string text = warnings()[0];
    EXPECT_EQ(std::count(text.begin(), text.end(), ';'), 2);
}

// The worker waits for the GUI thread already when this begins to wait for what is pending behind it.
TEST_F(EndlessWait, theGuiThreadIsRefusedAWaitForAQueueThatWaitsForIt)
{
    Latch waits;
    std::atomic<bool> worker{false};
    const QFuture<void> future = dispatch(
        [&] {
            waits.countDown();
            worker = dispatchSync([] {}, eQOS_GUI);
        },
        *first);
    ASSERT_TRUE(waits.wait());
    bool hasRun = false;
    const QFuture<void> behind = dispatch([&] { hasRun = true; }, *first);
    waitFor(behind); // closes the circle, or its worker does
    if (behind.isCanceled()) {
        EXPECT_FALSE(hasRun);
        EXPECT_TRUE(serveUntil([&] { return future.isFinished(); }));
        EXPECT_TRUE(worker); // once the GUI thread serves tasks again
    } else {
        waitFor(future);
        EXPECT_TRUE(hasRun);
        EXPECT_FALSE(worker);
    }
    EXPECT_EQ(warnings().size(), 1U);
}

// The GUI thread cannot give its wait up, since the task is running: the worker's is given up in its place.
TEST_F(EndlessWait, aWaitForARunningTaskHasTheOtherWaitGivenUp)
{
    for (int round = 0; round < 200; ++round) {
        Latch runs;
        bool inner = true;
        const std::shared_ptr<Task> task = add(first, [&] {
            runs.countDown();
            inner = dispatchSync([] {}, eQOS_GUI);
        });
        ASSERT_TRUE(runs.wait());
        if (round % 2 == 0)
            std::this_thread::yield(); // either may be the first to wait
        task->waitTillFinished();
        ASSERT_FALSE(inner);
    }
    EXPECT_EQ(warnings().size(), 200U);
}

TEST_F(EndlessWait, aFutureForTheGuiThreadIsCancelled)
{
    bool isCancelled = false;
    waitFor(dispatch(
        [&] {
            const QFuture<void> inner = dispatch([] {}, eQOS_GUI);
            waitFor(inner);
            isCancelled = inner.isCanceled();
        },
        eQOS_Normal));
    EXPECT_TRUE(isCancelled);
    EXPECT_EQ(warnings().size(), 1U);
}

TEST_F(EndlessWait, aGroupForTheGuiThreadIsCancelled)
{
    bool isCancelled = false;
    TaskGroup outer(*first);
    outer.dispatch([&] {
        TaskGroup inner(eQOS_GUI);
        inner.dispatch([] {});
        inner.dispatch([] {});
        inner.wait();
        isCancelled = inner.isCancelled();
    });
    outer.wait();
    EXPECT_TRUE(isCancelled);
    EXPECT_EQ(warnings().size(), 1U);
}

TEST_F(EndlessWait, twoQueuesThatWaitForEachOtherAreFoundToo)
{
    Latch bothRun(2);
    std::atomic<int> refused{0};
    const auto crossing = [&](TaskQueue& other) {
        return [&] {
            bothRun.countDown();
            bothRun.wait();
            const QFuture<void> future = dispatch([] {}, other);
            waitFor(future);
            refused += future.isCanceled() ? 1 : 0;
        };
    };
    const QFuture<void> one = dispatch(crossing(*second), *first);
    const QFuture<void> two = dispatch(crossing(*first), *second);
    waitFor(one);
    waitFor(two);
    EXPECT_EQ(refused, 1); // the other goes on
    EXPECT_EQ(warnings().size(), 1U);
}

// The GUI thread waits for all workers that help it, so each of their waits for it is refused.
TEST_F(EndlessWait, aPartOfALoopOfTheGuiThreadIsRefusedAWaitForIt)
{
    constexpr int workers = 3;
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, workers);
    LoopOptions options;
    options.queue = queue.get();
    options.grain = 1;
    for (int round = 0; round < 10; ++round) {
        Latch allRun(workers + 1);
        std::atomic<int> refused{0};
        const auto part = [&](int, int) {
            allRun.countDown();
            allRun.wait();
            if (TaskQueue::getGUIQueue()->thread() != QThread::currentThread())
                refused += dispatchSync([] {}, eQOS_GUI) ? 0 : 1;
        };
        ASSERT_EQ(parallelFor(0, workers + 1, part, options), eLoop_Completed);
        ASSERT_EQ(refused, workers);
    }
    EXPECT_EQ(warnings().size(), 10U * workers);
    EXPECT_THAT(warnings()[0],
                HasSubstr("the GUI thread waits for a part of a loop that is running in brnNormal-"));
}

TEST_F(EndlessWait, aLoopInATaskForWhichTheGuiThreadWaitsIsPartOfTheCircle)
{
    bool inner = true;
    LoopOptions options;
    options.queue = second.get();
    options.grain = 1;
    add(first, [&] {
        Latch bothRun(2);
        const std::thread::id caller = std::this_thread::get_id();
        EXPECT_EQ(parallelFor(
                      0, 2,
                      [&](int, int) {
                          bothRun.countDown();
                          bothRun.wait();
                          if (std::this_thread::get_id() != caller)
                              inner = dispatchSync([] {}, eQOS_GUI);
                      },
                      options),
                  eLoop_Completed);
    })->waitTillFinished();
    EXPECT_FALSE(inner);
    EXPECT_EQ(warnings().size(), 1U);
}

// Controls: these waits end, and none is refused.

// Its caller waits for one part that waits for the GUI thread, and that is free.
TEST_F(EndlessWait, aPartOfALoopElsewhereMayWaitForTheGuiThread)
{
    LoopOptions options;
    options.queue = first.get();
    options.grain = 1;
    std::atomic<bool> served{false};
    EXPECT_TRUE(runAside([&] {
        Latch bothRun(2);
        const std::thread::id caller = std::this_thread::get_id();
        EXPECT_EQ(parallelFor(
                      0, 2,
                      [&](int, int) {
                          bothRun.countDown();
                          bothRun.wait();
                          if (std::this_thread::get_id() != caller)
                              served = dispatchSync([] {}, eQOS_GUI);
                      },
                      options),
                  eLoop_Completed);
    }));
    EXPECT_TRUE(served);
    EXPECT_TRUE(warnings().empty());
}

TEST_F(EndlessWait, aGuiThreadThatWaitsInAnEventLoopServesTasks)
{
    QEventLoop loop;
    bool inner = false;
    add(first, [&] {
        inner = dispatchSync([] {}, eQOS_GUI);
        dispatchAsync([&] { loop.quit(); }, eQOS_GUI);
    });
    loop.exec();
    EXPECT_TRUE(inner);
    EXPECT_TRUE(warnings().empty());
}

TEST_F(EndlessWait, aGuiThreadThatWaitsForAnotherWorkerIsWaitedFor)
{
    Latch mayEnd;
    Latch waits;
    std::atomic<bool> served{false};
    add(first, [&] {
        waits.countDown();
        served = dispatchSync([] {}, eQOS_GUI);
    });
    ASSERT_TRUE(waits.wait());
    add(second, [] {})->waitTillFinished(); // the worker of `first` waits for this thread, which comes back
    EXPECT_TRUE(serveUntil([&] { return served.load(); }));
    EXPECT_TRUE(warnings().empty());
}

TEST_F(EndlessWait, aTaskBehindAWorkerThatWaitsForTheGuiThreadRunsOnAnother)
{
    const std::shared_ptr<TaskQueue> both = TaskQueue::createQueue(eQOS_Normal, 2);
    std::atomic<bool> served{false};
    Latch waits;
    add(both, [&] {
        waits.countDown();
        served = dispatchSync([] {}, eQOS_GUI);
    });
    ASSERT_TRUE(waits.wait());
    bool hasRun = false;
    waitFor(dispatch([&] { hasRun = true; }, *both));
    EXPECT_TRUE(hasRun);
    EXPECT_TRUE(serveUntil([&] { return served.load(); }));
    EXPECT_TRUE(warnings().empty());
}

TEST_F(EndlessWait, aWorkerOfAnotherClassMayWaitForTheGuiThreadWhileThatWaits)
{
    std::atomic<bool> served{false};
    Latch waits;
    std::thread host([&] {
        waits.countDown();
        served = dispatchSync([] {}, eQOS_GUI);
    });
    ASSERT_TRUE(waits.wait());
    EXPECT_TRUE(dispatchSync([] {}, eQOS_High));
    EXPECT_TRUE(serveUntil([&] { return served.load(); }));
    host.join();
    EXPECT_TRUE(warnings().empty());
}

// Whoever waits for a call that is cancelled takes it back, so the GUI thread goes on. The worker finds it in each
// state: still awake, falling asleep, and asleep.
TEST_F(EndlessWait, aWaitForACallThatIsCancelledMeanwhileCanEnd)
{
    for (int round = 0; round < 40; ++round)
        ASSERT_TRUE(isServedAfterCancelling([] {}, 100 * round, [] {}));
    EXPECT_TRUE(warnings().empty());
}

// The same while the GUI thread destroys the callable that it has taken back.
TEST_F(EndlessWait, aThreadThatTakesACallBackGoesOn)
{
    for (int round = 0; round < 40; ++round) {
        Latch isBeingDestroyed;
        std::shared_ptr<void> trace(nullptr, [&](void* /*none*/) {
            isBeingDestroyed.countDown();
            yieldTimes(1000);
        });
        ASSERT_TRUE(isServedAfterCancelling([held = std::move(trace)] {}, 100 * round,
                                            [&] { isBeingDestroyed.wait(); }));
    }
    EXPECT_TRUE(warnings().empty());
}

// It may wait while it destroys the callable. That wait counts then, and not the one for the callable.
TEST_F(EndlessWait, aThreadThatTakesACallBackMayCloseACircleOfItsOwn)
{
    for (int round = 0; round < 10; ++round) {
        bool isOtherServed = false;
        std::shared_ptr<void> trace(nullptr, [&](void* /*none*/) {
            const QFuture<void> other = dispatch([] {}, *first);
            waitFor(other);
            isOtherServed = !other.isCanceled();
        });
        const bool isServed = isServedAfterCancelling([held = std::move(trace)] {}, 100 * round, [] {});
        EXPECT_NE(isServed, isOtherServed) << "one of the two waits is given up";
        ASSERT_EQ(warnings().size(), static_cast<std::size_t>(round + 1));
    }
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)

// Once the future is finished the GUI thread goes on, and serves what its continuation waits for.
TEST_F(EndlessWait, aContinuationMayWaitForTheThreadThatWaitsForItsFuture)
{
    for (int round = 0; round < 50; ++round) {
        Latch mayEnd;
        std::atomic<bool> served{false};
        const QFuture<void> future = dispatch([&] { mayEnd.wait(); }, *first);
        QFuture<void> continued = QFuture<void>(future).then([&] { served = dispatchSync([] {}, eQOS_GUI); });
        mayEnd.countDown();
        waitFor(future);
        ASSERT_TRUE(serveUntil([&] { return continued.isFinished(); }));
        ASSERT_TRUE(served);
    }
    EXPECT_TRUE(warnings().empty());
}

// The same after the callable has finished the future by its promise.
TEST_F(EndlessWait, aCallableMayWaitForTheThreadThatWaitsForItsFinishedPromise)
{
    std::atomic<bool> served{false};
    Latch isFinished;
    const QFuture<void> future = dispatch(
        [&](QPromise<void>& promise) {
            promise.finish();
            served = dispatchSync([] {}, eQOS_GUI);
            isFinished.countDown();
        },
        *first);
    waitFor(future);
    EXPECT_TRUE(serveUntil([&] { return isFinished.isDown(); }));
    EXPECT_TRUE(served);
    EXPECT_TRUE(warnings().empty());
}

#endif

// A task that is shared may be taken back by anybody, so a wait for it counts as one that can end while it is
// pending.
TEST_F(EndlessWait, aPendingTaskThatIsSharedMayBeTakenBackByAThirdThread)
{
    Latch waits;
    std::atomic<bool> served{false};
    add(first, [&] {
        waits.countDown();
        served = dispatchSync([] {}, eQOS_GUI);
    });
    ASSERT_TRUE(waits.wait());
    const std::shared_ptr<Task> behind = add(first, [] {});
    std::thread third([&] { EXPECT_TRUE(behind->cancel()); });
    behind->waitTillFinished();
    third.join();
    EXPECT_TRUE(serveUntil([&] { return served.load(); }));
    EXPECT_TRUE(warnings().empty());
}
