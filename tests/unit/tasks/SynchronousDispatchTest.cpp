#include <brn_mesh_kernel/tasks/SynchronousDispatch.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/WaitGraph.h>

#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

std::atomic<int> g_reports{0};

class SynchronousDispatchTest : public TaskFixture
{
protected:
    SynchronousDispatchTest()
    {
        g_reports = 0;
        WaitGraph::reportBy([](const std::wstring&) { ++g_reports; });
    }

    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    std::shared_ptr<Task> task = std::make_shared<Task>([] {});
};

} // namespace

TEST_F(SynchronousDispatchTest, aWorkerThatWaitsForATaskOnItsWayIntoItsQueueMakesRoom)
{
    SynchronousDispatch::announce(*task, queue);
    Latch hasWaited;
    queue->dispatch([&] {
        EXPECT_TRUE(SynchronousDispatch::wait(*task, false));
        hasWaited.countDown();
    });
    Latch isWaiting; // then others run what is pending behind the worker
    queue->dispatch([&] { isWaiting.countDown(); });
    EXPECT_TRUE(isWaiting.wait(std::chrono::seconds(20)));
    SynchronousDispatch::add(*queue, task);
    ASSERT_TRUE(hasWaited.wait());
    EXPECT_EQ(task->getTaskState(), Task::eFinished);
    EXPECT_EQ(g_reports, 0);
}

// The queue's worker waits for the GUI thread, and this for a task that gets behind the worker only then.
TEST_F(SynchronousDispatchTest, aCircleThatIsClosedByAddingATaskIsFound)
{
    Latch waits;
    std::atomic<int> served{-1};
    queue->dispatch([&] {
        waits.countDown();
        served = dispatchSync([] {}, eQOS_GUI) ? 1 : 0;
    });
    ASSERT_TRUE(waits.wait());
    SynchronousDispatch::announce(*task, queue);
    std::thread adding([&] {
        std::this_thread::yield(); // either may be first
        SynchronousDispatch::add(*queue, task);
    });
    const bool hasRun = SynchronousDispatch::wait(*task, false);
    adding.join();
    EXPECT_TRUE(serveUntil([&] { return served >= 0; }));
    EXPECT_NE(hasRun, served == 1); // one of the two was given up
    EXPECT_EQ(g_reports, 1);
}

TEST_F(SynchronousDispatchTest, aTaskWhoseWaitsHaveEndedNeverRuns)
{
    BlockingTask blocking;
    queue->addTask(blocking.task);
    ASSERT_TRUE(blocking.hasStarted());
    bool hasRun = false;
    *task = [&] { hasRun = true; };
    queue->addTask(task);
    std::thread ending([this] { SynchronousDispatch::endWaits(*task); });
    SynchronousDispatch::wait(*task, false); // while the worker is busy
    ending.join();
    blocking.release();
    Latch isDone;
    queue->dispatch([&] { isDone.countDown(); });
    EXPECT_TRUE(isDone.wait());
    EXPECT_FALSE(hasRun);
}
