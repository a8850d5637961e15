#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/AnnouncementSlot.h"
#include "support/Eventually.h"
#include "support/Latch.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

/// A queue of one worker, which is busy.
class TaskCancelTest : public TaskFixture
{
protected:
    TaskCancelTest()
    {
        queue->addTask(blocking.task);
        EXPECT_TRUE(blocking.hasStarted());
    }

    void runAllThatIsPending()
    {
        blocking.release();
        const auto last = std::make_shared<Task>([] {});
        queue->addTask(last);
        last->waitTillFinished();
    }

    int calls = 0;
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    const std::shared_ptr<Task> task = std::make_shared<Task>([this] { ++calls; });
    BlockingTask blocking;
};

} // namespace

TEST_F(TaskCancelTest, takesAPendingTaskBack)
{
    queue->addTask(task);
    EXPECT_TRUE(task->cancel());
    EXPECT_EQ(task->getTaskState(), Task::ePending);
    EXPECT_FALSE(task->cancel());
    runAllThatIsPending();
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(task.use_count(), 1);
}

TEST_F(TaskCancelTest, letsARunningTaskGoOn)
{
    EXPECT_FALSE(blocking.task->cancel());
    blocking.release();
    blocking.task->waitTillFinished();
    EXPECT_EQ(blocking.task->getTaskState(), Task::eFinished);
    EXPECT_FALSE(blocking.task->cancel());
}

TEST_F(TaskCancelTest, changesNothingForATaskThatWasNeverAdded)
{
    EXPECT_FALSE(task->cancel());
    task->runTask();
    EXPECT_EQ(calls, 1);
}

TEST_F(TaskCancelTest, endsTheWaits)
{
    constexpr int waiterCount = 3;
    queue->addTask(task);
    std::vector<std::thread> waiters;
    waiters.reserve(waiterCount);
    for (int i = 0; i < waiterCount; ++i)
        waiters.emplace_back([this] { task->waitTillFinished(); });
    EXPECT_TRUE(task->cancel());
    for (std::thread& waiter : waiters)
        waiter.join(); // those that came later, too
    EXPECT_EQ(calls, 0);
}

TEST_F(TaskCancelTest, leavesATaskThatCanBeAddedAgain)
{
    queue->addTask(task);
    ASSERT_TRUE(task->cancel());
    queue->addTask(task);
    blocking.release();
    task->waitTillFinished();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(task->getTaskState(), Task::eFinished);
}

TEST_F(TaskCancelTest, leavesATaskThatCanBeWaitedForOnceItIsAssignedTo)
{
    queue->addTask(task);
    ASSERT_TRUE(task->cancel());
    *task = [this] { calls += 10; };
    std::thread runner([this] { task->runTask(); });
    task->waitTillFinished();
    runner.join();
    EXPECT_EQ(calls, 10);
}

TEST_F(TaskCancelTest, takesATaskForTheGuiThreadBack)
{
    std::thread([this] { TaskQueue::getGUIQueue()->addTask(task); }).join();
    EXPECT_TRUE(task->cancel());
    bool isServed = false;
    std::thread([&] { dispatchAsync([&] { isServed = true; }, eQOS_GUI); }).join();
    EXPECT_TRUE(serveUntil([&] { return isServed; }));
    EXPECT_EQ(calls, 0);
}

TEST_F(TaskCancelTest, letsDispatchSyncReturnFalse)
{
    // The GUI thread serves nothing before it has cancelled.
    TaskQueue* const gui = TaskQueue::getGUIQueue();
    std::atomic<Task*> announced{nullptr};
    const AnnouncementSlot slot(*gui, [&](Task* arrived) { announced = arrived; });
    std::atomic<bool> result{true};
    std::thread caller([&] { result = dispatchSync([this] { ++calls; }, eQOS_GUI); });
    EXPECT_TRUE(eventually([&] { return announced != nullptr; }));
    EXPECT_TRUE(announced.load()->cancel());
    caller.join();
    EXPECT_FALSE(result);
    EXPECT_EQ(calls, 0);
}

TEST_F(TaskCancelTest, aTaskIsEitherCancelledOrRun)
{
    constexpr int rounds = 3000;
    blocking.release();
    std::atomic<int> runs{0};
    int cancelled = 0;
    for (int round = 0; round < rounds; ++round) {
        const auto raced = std::make_shared<Task>([&] { ++runs; });
        queue->addTask(raced);
        std::thread waiter;
        if (round % 16 == 0)
            waiter = std::thread([raced] { raced->waitTillFinished(); });
        cancelled += raced->cancel() ? 1 : 0;
        raced->waitTillFinished();
        if (waiter.joinable())
            waiter.join();
    }
    EXPECT_EQ(runs + cancelled, rounds);
}
