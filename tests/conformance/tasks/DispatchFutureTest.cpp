#include <brn_mesh_kernel/tasks/DispatchFuture.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <QFutureWatcher>
#include <QThread>
#include <QThreadPool>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

class DispatchFutureTest : public TaskFixture
{
protected:
    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);

    /// Keeps the one worker of the queue busy until it is released.
    std::unique_ptr<BlockingTask> blockQueue() const
    {
        auto blocking = std::make_unique<BlockingTask>();
        queue->addTask(blocking->task);
        EXPECT_TRUE(blocking->hasStarted());
        return blocking;
    }
};

/// Tells of its last copy's end.
std::shared_ptr<void> makeTrace(std::atomic<bool>& isGone)
{
    return {nullptr, [&isGone](void*) { isGone = true; }};
}

} // namespace

TEST_F(DispatchFutureTest, theValueArrives)
{
    const QFuture<int> future = dispatch([] { return 7; }, eQOS_Normal);
    waitFor(future);
    EXPECT_TRUE(future.isFinished());
    EXPECT_FALSE(future.isCanceled());
    EXPECT_EQ(future.result(), 7);
}

TEST_F(DispatchFutureTest, theCallRunsInAWorkerOfTheQueue)
{
    QThread* queueThread = nullptr;
    waitFor(dispatch([&] { queueThread = QThread::currentThread(); }, *queue));
    EXPECT_EQ(dispatch([] { return QThread::currentThread(); }, *queue).result(), queueThread);
    EXPECT_NE(queueThread, QThread::currentThread());
}

TEST_F(DispatchFutureTest, aReferenceArrivesAsACopy)
{
    int number = 1;
    const QFuture<int> future = dispatch([&]() -> int& { return number; }, eQOS_High);
    waitFor(future);
    number = 2;
    EXPECT_EQ(future.result(), 1);
}

TEST_F(DispatchFutureTest, aCallableThatCanOnlyBeMovedIsRun)
{
    auto number = std::make_unique<int>(3);
    const QFuture<int> future = dispatch([number = std::move(number)] { return *number; }, *queue);
    EXPECT_EQ(future.result(), 3);
}

TEST_F(DispatchFutureTest, whatTheCallableHoldsIsReleasedBeforeTheEnd)
{
    std::atomic<bool> isGone{false};
    waitFor(dispatch([trace = makeTrace(isGone)] {}, *queue));
    EXPECT_TRUE(isGone);
}

TEST_F(DispatchFutureTest, aDroppedFutureKeepsNoCallFromRunning)
{
    Latch hasRun;
    dispatch([&] { hasRun.countDown(); }, eQOS_Normal);
    EXPECT_TRUE(hasRun.wait());
}

TEST_F(DispatchFutureTest, inTheGuiThreadACallOfItsQueueRunsAtOnce)
{
    const QFuture<QThread*> future = dispatch([] { return QThread::currentThread(); }, eQOS_GUI);
    ASSERT_TRUE(future.isFinished());
    EXPECT_EQ(future.result(), QThread::currentThread());
}

TEST_F(DispatchFutureTest, aWatcherHearsOfTheEnd)
{
    QFutureWatcher<int> watcher;
    bool hasFinished = false;
    QObject::connect(&watcher, &QFutureWatcherBase::finished, &watcher, [&] { hasFinished = true; });
    watcher.setFuture(dispatch([] { return 5; }, eQOS_Low));
    EXPECT_TRUE(serveUntil([&] { return hasFinished; }));
    EXPECT_EQ(watcher.result(), 5);
}

TEST_F(DispatchFutureTest, aCancelledCallThatIsPendingNeverRuns)
{
    const auto blocking = blockQueue();
    std::atomic<bool> hasRun{false};
    std::atomic<bool> isGone{false};
    QFuture<void> future = dispatch([&, trace = makeTrace(isGone)] { hasRun = true; }, *queue);
    future.cancel();
    blocking->release();
    future.waitForFinished(); // when its turn has come
    EXPECT_TRUE(future.isCanceled());
    EXPECT_TRUE(isGone);
    EXPECT_FALSE(hasRun);
}

TEST_F(DispatchFutureTest, aCancelledCallThatIsWaitedForIsTakenBackAtOnce)
{
    const auto blocking = blockQueue();
    std::atomic<bool> isGone{false};
    QFuture<void> future = dispatch([trace = makeTrace(isGone)] {}, *queue);
    future.cancel();
    waitFor(future); // the worker is still busy
    EXPECT_TRUE(future.isFinished());
    EXPECT_TRUE(isGone);
}

// The task that blocks runs once the other one counts as waiting.
TEST_F(DispatchFutureTest, aCallThatIsCancelledWhileAThreadWaitsForItIsTakenBack)
{
    Latch isBlocked;
    Latch mayEnd;
    Latch hasWaited;
    std::atomic<bool> hasRun{false};
    QFuture<void> future;
    const auto blocking = std::make_shared<Task>([&] {
        isBlocked.countDown();
        mayEnd.wait();
    });
    queue->dispatch([&] {
        queue->addTask(blocking);
        future = dispatch([&] { hasRun = true; }, *queue);
        waitFor(future);
        hasWaited.countDown();
    });
    ASSERT_TRUE(isBlocked.wait());
    future.cancel();
    EXPECT_TRUE(hasWaited.wait(std::chrono::seconds(10)));
    EXPECT_TRUE(future.isFinished());
    mayEnd.countDown();
    EXPECT_TRUE(hasWaited.wait());
    blocking->waitTillFinished();
    EXPECT_FALSE(hasRun);
}

TEST_F(DispatchFutureTest, aCallThatRunsIsNotTakenBackAndItsValueIsDropped)
{
    Latch started;
    Latch mayEnd;
    QFuture<int> future = dispatch(
        [&] {
            started.countDown();
            mayEnd.wait();
            return 1;
        },
        *queue);
    ASSERT_TRUE(started.wait());
    future.cancel();
    EXPECT_FALSE(future.isFinished());
    mayEnd.countDown();
    waitFor(future);
    EXPECT_EQ(future.resultCount(), 0);
}

TEST_F(DispatchFutureTest, aPendingCallKeepsItsQueue)
{
    auto blocking = blockQueue();
    const QFuture<int> future = dispatch([] { return 2; }, *queue);
    queue.reset();
    blocking->release();
    EXPECT_EQ(future.result(), 2);
}

TEST_F(DispatchFutureTest, anUnknownClassGivesACancelledFuture)
{
    std::atomic<bool> isGone{false};
    const QFuture<int> future =
        dispatch([trace = makeTrace(isGone)] { return 1; }, static_cast<EQualityOfService>(5));
    EXPECT_TRUE(future.isFinished());
    EXPECT_TRUE(future.isCanceled());
    EXPECT_TRUE(isGone);
}

TEST_F(DispatchFutureTest, waitingInsideATaskMakesRoom)
{
    const QFuture<int> future = dispatch(
        [this] {
            const QFuture<int> inner = dispatch([] { return 4; }, *queue);
            waitFor(inner);
            return inner.result() + 1;
        },
        *queue);
    waitFor(future);
    EXPECT_EQ(future.result(), 5);
}

TEST_F(DispatchFutureTest, waitsNestAHundredDeepOnOneWorker) // more than a queue has overflow queues
{
    std::function<int(int)> nest = [&](int depth) {
        if (depth == 0)
            return 0;
        const QFuture<int> inner = dispatch([&, depth] { return nest(depth - 1); }, *queue);
        waitFor(inner);
        return inner.result() + 1;
    };
    const QFuture<int> future = dispatch([&] { return nest(100); }, *queue);
    waitFor(future);
    EXPECT_EQ(future.result(), 100);
}

TEST_F(DispatchFutureTest, theGuiThreadRunsACallOfItsQueueThatItWaitsFor)
{
    QFuture<QThread*> future;
    std::thread([&] { future = dispatch([] { return QThread::currentThread(); }, eQOS_GUI); }).join();
    EXPECT_FALSE(future.isFinished());
    waitFor(future);
    EXPECT_EQ(future.result(), QThread::currentThread());
}

TEST_F(DispatchFutureTest, anotherThreadWaitsForTheGuiThread)
{
    QThread* thread = nullptr;
    EXPECT_TRUE(runAside([&] {
        const QFuture<QThread*> future = dispatch([] { return QThread::currentThread(); }, eQOS_GUI);
        waitFor(future);
        thread = future.result();
    }));
    EXPECT_EQ(thread, QThread::currentThread());
}

TEST_F(DispatchFutureTest, afterTheApplicationObjectTheWaitingThreadRunsTheCall)
{
    application.reset();
    const QFuture<QThread*> future = dispatch([] { return QThread::currentThread(); }, eQOS_Normal);
    EXPECT_FALSE(future.isFinished());
    waitFor(future);
    EXPECT_EQ(future.result(), QThread::currentThread());
}

// The waiting threads are met before their waits, on their way to sleep, and asleep. Qt's own wait asks a thread pool
// whether it can run the call: the global pool may be gone by then, since it goes with the application object.
TEST_F(DispatchFutureTest, theEndOfTheApplicationObjectCancelsWhatIsPending)
{
    QThreadPool pool;
    for (int round = 0; round < 30; ++round) {
        if (!application)
            application = makeApplication();
        std::atomic<int> woken{0};
        std::atomic<bool> isGone{false};
        Latch bothRun(2);
        QFuture<void> future;
        std::thread([&] { future = dispatch([trace = makeTrace(isGone)] {}, eQOS_GUI); }).join();
        FutureDetails::interfaceOf(future).setThreadPool(&pool);
        std::thread plain([&, copy = future]() mutable {
            bothRun.countDown();
            yieldTimes(100 * (round % 3));
            copy.waitForFinished();
            ++woken;
        });
        std::thread ours([&, copy = future] {
            bothRun.countDown();
            yieldTimes(100 * (round % 3));
            waitFor(copy);
            ++woken;
        });
        ASSERT_TRUE(bothRun.wait());
        yieldTimes(50 * round);
        application.reset();
        plain.join();
        ours.join();
        ASSERT_EQ(woken, 2);
        ASSERT_TRUE(future.isCanceled());
        ASSERT_TRUE(isGone);
    }
}

TEST_F(DispatchFutureTest, afterTheApplicationObjectACallForTheGuiThreadIsRefused)
{
    application.reset();
    QFuture<int> future;
    std::thread([&] { future = dispatch([] { return 1; }, eQOS_GUI); }).join();
    EXPECT_TRUE(future.isFinished());
    EXPECT_TRUE(future.isCanceled());
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)

TEST_F(DispatchFutureTest, theExceptionArrivesWithItsType)
{
    const QFuture<int> future = dispatch([]() -> int { throw std::runtime_error("callable"); }, eQOS_Normal);
    EXPECT_THROW(waitFor(future), std::runtime_error);
    EXPECT_THROW(future.result(), std::runtime_error);
}

TEST_F(DispatchFutureTest, aResultThatCanOnlyBeMovedArrives)
{
    QFuture<std::unique_ptr<int>> future = dispatch([] { return std::make_unique<int>(8); }, *queue);
    waitFor(future);
    EXPECT_EQ(*future.takeResult(), 8);
}

TEST_F(DispatchFutureTest, aCallableMayTakeAPromise)
{
    QFuture<int> future = dispatch(
        [](QPromise<int>& promise) {
            promise.setProgressRange(0, 3);
            for (int i = 1; i <= 3; ++i) {
                promise.addResult(i);
                promise.setProgressValue(i);
            }
        },
        eQOS_Normal);
    waitFor(future);
    EXPECT_EQ(future.results(), (QList<int>{1, 2, 3}));
    EXPECT_EQ(future.progressMaximum(), 3);
    EXPECT_EQ(dispatch([](QPromise<int>& promise) mutable { promise.addResult(6); }, *queue).result(), 6);
}

TEST_F(DispatchFutureTest, aPromiseTellsThatTheCallIsCancelled)
{
    Latch started;
    QFuture<void> future = dispatch(
        [&](QPromise<void>& promise) {
            started.countDown();
            while (!promise.isCanceled())
                std::this_thread::yield();
        },
        *queue);
    ASSERT_TRUE(started.wait());
    future.cancel();
    waitFor(future);
    EXPECT_TRUE(future.isFinished());
}

TEST_F(DispatchFutureTest, aPromiseThatIsMovedAwayEndsWithTheCallable)
{
    const QFuture<int> future = dispatch(
        [](QPromise<int>& promise) {
            QPromise<int> own = std::move(promise);
            own.addResult(1);
            own.finish();
        },
        *queue);
    waitFor(future);
    EXPECT_EQ(future.result(), 1);
}

TEST_F(DispatchFutureTest, aPromiseThatIsFinishedEarlyRunsContinuationsOnce)
{
    Latch isAttached;
    std::atomic<int> runs{0};
    QFuture<int> future = dispatch(
        [&](QPromise<int>& promise) {
            isAttached.wait();
            promise.addResult(1);
            promise.finish();
        },
        *queue);
    const QFuture<void> continued = QFuture<int>(future).then([&](int value) { runs += value; });
    isAttached.countDown();
    waitFor(continued);
    waitFor(dispatch([] {}, *queue)); // behind the call
    EXPECT_EQ(runs, 1);
}

TEST_F(DispatchFutureTest, whatComesAfterAPromiseIsFinishedIsDropped)
{
    const QFuture<int> future = dispatch(
        [](QPromise<int>& promise) {
            promise.addResult(1);
            promise.finish();
            promise.addResult(2);
            throw std::runtime_error("too late");
        },
        *queue);
    waitFor(future);
    waitFor(dispatch([] {}, *queue));
    EXPECT_EQ(future.results(), (QList<int>{1}));
}

TEST_F(DispatchFutureTest, aWaitEndsWhenTheCallableFinishesItsPromise)
{
    Latch hasWaited;
    std::atomic<bool> isInTime{false};
    QFuture<int> future = dispatch(
        [&](QPromise<int>& promise) {
            promise.addResult(1);
            promise.finish();
            isInTime = hasWaited.wait();
        },
        *queue);
    waitFor(future);
    hasWaited.countDown();
    EXPECT_EQ(future.result(), 1);
    waitFor(dispatch([] {}, *queue));
    EXPECT_TRUE(isInTime);
}

TEST_F(DispatchFutureTest, continuationsRunAfterTheCall)
{
    std::vector<int> order;
    QFuture<void> future = dispatch(
                               [&] {
                                   order.push_back(1);
                                   return 2;
                               },
                               eQOS_Normal)
                               .then(application.get(), [&](int value) { order.push_back(value); });
    EXPECT_TRUE(serveUntil([&] { return future.isFinished(); }));
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(DispatchFutureTest, aWaitEndsBeforeContinuationsHaveRun)
{
    Latch mayEnd;
    Latch hasWaited;
    const QFuture<void> future = dispatch([&] { mayEnd.wait(); }, *queue);
    const QFuture<bool> continued = QFuture<void>(future).then([&] { return hasWaited.wait(); });
    mayEnd.countDown();
    waitFor(future);
    hasWaited.countDown();
    EXPECT_TRUE(continued.result());
}

TEST_F(DispatchFutureTest, waitingInsideATaskForAContinuationMakesRoomToo)
{
    const QFuture<int> future = dispatch(
        [this] {
            const QFuture<int> inner =
                dispatch([] { return 4; }, *queue).then([](int value) { return -value; });
            waitFor(inner);
            return inner.result();
        },
        *queue);
    waitFor(future);
    EXPECT_EQ(future.result(), -4);
}

TEST_F(DispatchFutureTest, waitsForContinuationsNestAHundredDeepOnOneWorker) // more than 64
{
    std::function<int(int)> nest = [&](int depth) {
        if (depth == 0)
            return 0;
        const QFuture<int> inner =
            dispatch([&, depth] { return nest(depth - 1); }, *queue).then([](int value) {
                return value + 1;
            });
        waitFor(inner);
        return inner.result();
    };
    Latch isDone;
    const QFuture<int> future = dispatch([&] { return nest(100); }, *queue).then([&](int value) {
        isDone.countDown();
        return value;
    });
    ASSERT_TRUE(isDone.wait());
    EXPECT_EQ(future.result(), 100);
}

// By then the queue has all of its overflow queues, and threads that wait run the pending tasks themselves.
TEST_F(DispatchFutureTest, aWaitForAContinuationMakesRoomBelowAHundredOtherWaits)
{
    std::function<int(int)> nest = [&](int depth) {
        const QFuture<int> inner =
            dispatch([&, depth] { return depth == 0 ? 0 : nest(depth - 1) + 1; }, *queue);
        const QFuture<int> awaited =
            depth > 0 ? inner : QFuture<int>(inner).then([](int value) { return value; });
        waitFor(awaited);
        return awaited.result();
    };
    Latch isDone;
    const QFuture<int> future = dispatch([&] { return nest(100); }, *queue).then([&](int value) {
        isDone.countDown();
        return value;
    });
    ASSERT_TRUE(isDone.wait());
    EXPECT_EQ(future.result(), 100);
}

TEST_F(DispatchFutureTest, whenAllWaitsForSeveral)
{
    QList<QFuture<int>> parts{dispatch([] { return 1; }, eQOS_Normal), dispatch([] { return 2; }, eQOS_High)};
    QFuture<QList<QFuture<int>>> all = QtFuture::whenAll(parts.begin(), parts.end());
    waitFor(all);
    EXPECT_EQ(all.result().at(0).result() + all.result().at(1).result(), 3);
}

TEST_F(DispatchFutureTest, theEndOfTheApplicationObjectCancelsContinuationsToo)
{
    const auto blocking = blockQueue();
    std::atomic<bool> isTold{false};
    const QFuture<void> future = dispatch([] {}, *queue).onCanceled([&] { isTold = true; });
    application.reset();
    EXPECT_TRUE(isTold);
    EXPECT_TRUE(future.isFinished());
}

#else

TEST_F(DispatchFutureTest, anExceptionArrivesAsAnUnhandledOne)
{
    const QFuture<int> future = dispatch([]() -> int { throw std::runtime_error("callable"); }, eQOS_Normal);
    EXPECT_THROW(waitFor(future), QUnhandledException);
    EXPECT_THROW(future.result(), QUnhandledException);
}

#endif
