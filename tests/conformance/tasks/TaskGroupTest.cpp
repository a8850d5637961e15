#include <brn_mesh_kernel/tasks/TaskGroup.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include <QThread>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/AnnouncementSlot.h"
#include "support/Eventually.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

class TaskGroupTest : public TaskFixture
{
protected:
    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    TaskGroup group{*queue};
    std::atomic<int> runs{0};

    void dispatchMany(int count)
    {
        for (int i = 0; i < count; ++i)
            group.dispatch([this] { ++runs; });
    }
};

} // namespace

TEST_F(TaskGroupTest, waitReturnsOnceEveryCallableHasRun)
{
    dispatchMany(100);
    group.wait();
    EXPECT_EQ(runs, 100);
    EXPECT_FALSE(group.isCancelled());
}

TEST_F(TaskGroupTest, anEmptyGroupIsNotWaitedFor)
{
    group.dispatch({});
    group.wait();
    EXPECT_FALSE(group.isCancelled());
}

TEST_F(TaskGroupTest, itIsUsedAgainAfterAWait)
{
    dispatchMany(1);
    group.wait();
    dispatchMany(1);
    group.wait();
    EXPECT_EQ(runs, 2);
}

TEST_F(TaskGroupTest, callablesRunOnTheQueueOfTheirClass)
{
    QThread::Priority priority = QThread::InheritPriority;
    TaskGroup high(eQOS_High);
    high.dispatch([&] { priority = QThread::currentThread()->priority(); });
    high.wait();
    EXPECT_EQ(priority, QThread::HighPriority);
}

TEST_F(TaskGroupTest, callablesMayDispatchToTheirGroup)
{
    group.dispatch([this] { group.dispatch([this] { dispatchMany(10); }); });
    group.wait();
    EXPECT_EQ(runs, 10);
}

TEST_F(TaskGroupTest, whatACallableHoldsIsReleasedWhenTheWaitReturns)
{
    const auto held = std::make_shared<int>();
    group.dispatch([held] {});
    group.wait();
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(TaskGroupTest, theFirstExceptionComesOutOfTheWaitOnce)
{
    group.dispatch([] { throw std::runtime_error("first"); });
    try {
        group.wait();
        ADD_FAILURE();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "first");
    }
    group.wait();
}

TEST_F(TaskGroupTest, anExceptionTakesBackWhatIsPending)
{
    BlockingTask blocking;
    queue->addTask(blocking.task);
    ASSERT_TRUE(blocking.hasStarted());
    group.dispatch([] { throw std::runtime_error("first"); });
    dispatchMany(10);
    blocking.release();
    EXPECT_THROW(group.wait(), std::runtime_error);
    EXPECT_EQ(runs, 0);
    EXPECT_TRUE(group.isCancelled());
}

TEST_F(TaskGroupTest, anExceptionAfterACancelComesOutToo)
{
    Latch started;
    Latch mayEnd;
    group.dispatch([&] {
        started.countDown();
        mayEnd.wait();
        throw std::runtime_error("late");
    });
    ASSERT_TRUE(started.wait());
    group.cancel();
    mayEnd.countDown();
    EXPECT_THROW(group.wait(), std::runtime_error);
}

TEST_F(TaskGroupTest, cancelTakesBackWhatIsPendingAndReleasesIt)
{
    BlockingTask blocking;
    queue->addTask(blocking.task);
    ASSERT_TRUE(blocking.hasStarted());
    const auto held = std::make_shared<int>();
    group.dispatch([this, held] { ++runs; });
    group.cancel();
    EXPECT_EQ(held.use_count(), 1);
    group.wait(); // while the worker is busy
    blocking.release();
    blocking.task->waitTillFinished();
    EXPECT_EQ(runs, 0);
}

// The waiting thread is the queue's worker: once it counts as waiting, another worker runs what is pending. It may
// still be on its way to sleep then.
TEST_F(TaskGroupTest, cancelWakesAThreadThatWaitsForWhatIsPending)
{
    for (int round = 0; round < 20; ++round) {
        TaskGroup own(*queue);
        BlockingTask blocking;
        Latch hasWaited;
        queue->dispatch([&] {
            queue->addTask(blocking.task);
            for (int i = 0; i < 3; ++i)
                own.dispatch([this] { ++runs; });
            own.wait();
            hasWaited.countDown();
        });
        ASSERT_TRUE(blocking.hasStarted());
        yieldTimes(50 * round);
        own.cancel();
        ASSERT_TRUE(hasWaited.wait());
    }
    EXPECT_EQ(runs, 0);
}

TEST_F(TaskGroupTest, aCancelledGroupDropsWhatIsDispatched)
{
    group.cancel();
    dispatchMany(1);
    group.wait();
    EXPECT_EQ(runs, 0);
    EXPECT_TRUE(group.isCancelled());
}

// Without memory it is the same.
TEST_F(TaskGroupTest, aCallableThatCannotBeDispatchedIsTakenBack)
{
    BlockingTask blocking;
    queue->addTask(blocking.task);
    ASSERT_TRUE(blocking.hasStarted());
    std::optional<AnnouncementSlot> slot(std::in_place, *queue,
                                         [](Task* /*task*/) { throw std::runtime_error("slot"); });
    const auto held = std::make_shared<int>();
    EXPECT_THROW(group.dispatch([this, held] { ++runs; }), std::runtime_error);
    EXPECT_EQ(held.use_count(), 1);
    slot.reset();
    if (held.use_count() == 1)
        group.wait(); // while the worker is busy
    EXPECT_FALSE(group.isCancelled());
    group.dispatch([this] { runs += 10; });
    blocking.release();
    group.wait();
    EXPECT_EQ(runs, 10);
}

TEST_F(TaskGroupTest, aCallableThatRunsSeesTheCancel)
{
    Latch started;
    group.dispatch([&] {
        started.countDown();
        while (!group.isCancelled())
            std::this_thread::yield();
        ++runs;
    });
    ASSERT_TRUE(started.wait());
    group.cancel();
    group.wait();
    EXPECT_EQ(runs, 1);
}

TEST_F(TaskGroupTest, theDestructorDropsWhatIsPendingAndWaitsForWhatRuns)
{
    Latch started;
    Latch mayEnd;
    const auto held = std::make_shared<int>();
    std::optional<TaskGroup> own(*queue);
    own->dispatch([&] {
        started.countDown();
        mayEnd.wait();
        ++runs;
    });
    own->dispatch([this, held] { ++runs; });
    ASSERT_TRUE(started.wait());
    std::atomic<int> runsAtTheEnd{0};
    std::thread ending([&] {
        own.reset();
        runsAtTheEnd = runs.load();
    });
    EXPECT_TRUE(eventually([&] { return held.use_count() == 1; }));
    mayEnd.countDown();
    ending.join();
    EXPECT_EQ(runsAtTheEnd, 1);
}

TEST_F(TaskGroupTest, waitingInsideATaskMakesRoom)
{
    TaskGroup outer(*queue);
    outer.dispatch([this] {
        dispatchMany(10);
        group.wait();
        EXPECT_EQ(runs, 10);
    });
    outer.wait();
    EXPECT_EQ(runs, 10);
}

TEST_F(TaskGroupTest, groupsNestADozenDeepOnOneWorker)
{
    std::function<void(int)> nest = [&](int depth) {
        ++runs;
        if (depth == 0)
            return;
        TaskGroup parts(*queue);
        parts.dispatch([&, depth] { nest(depth - 1); });
        parts.dispatch([this] { ++runs; });
        parts.wait();
    };
    group.dispatch([&] { nest(12); });
    group.wait();
    EXPECT_EQ(runs, 25);
}

TEST_F(TaskGroupTest, theGuiThreadRunsWhatItWaitsFor)
{
    TaskGroup gui(eQOS_GUI);
    QThread* thread = nullptr;
    std::thread([&] { gui.dispatch([&] { thread = QThread::currentThread(); }); }).join();
    EXPECT_EQ(thread, nullptr);
    gui.wait();
    EXPECT_EQ(thread, QThread::currentThread());
}

TEST_F(TaskGroupTest, afterTheApplicationObjectTheWaitingThreadRunsTheCallables)
{
    application.reset();
    dispatchMany(5);
    group.wait();
    EXPECT_EQ(runs, 5);
}

// The thread is met before its wait, on its way to sleep, and asleep.
TEST_F(TaskGroupTest, theEndOfTheApplicationObjectCancelsAGroupForTheGuiThreadThatIsWaitedFor)
{
    for (int round = 0; round < 30; ++round) {
        if (!application)
            application = makeApplication();
        TaskGroup gui(eQOS_GUI);
        Latch isPending;
        std::thread other([&] {
            gui.dispatch([this] { ++runs; });
            isPending.countDown();
            yieldTimes(100 * (round % 3));
            gui.wait();
        });
        ASSERT_TRUE(isPending.wait());
        yieldTimes(50 * round);
        application.reset();
        other.join();
        ASSERT_TRUE(gui.isCancelled());
    }
    EXPECT_EQ(runs, 0);
}

TEST_F(TaskGroupTest, aGroupOfAnUnknownClassIsCancelled)
{
    TaskGroup none(static_cast<EQualityOfService>(5));
    none.dispatch([this] { ++runs; });
    none.wait();
    EXPECT_TRUE(none.isCancelled());
    EXPECT_EQ(runs, 0);
}
