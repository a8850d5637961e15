#include <brn_mesh_kernel/tasks/WorkerThreads.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QThread>

#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/ProcessThreads.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

class WorkerThreadsTest : public TaskFixture
{
protected:
    static std::string nameOfWorker(const std::shared_ptr<TaskQueue>& queue)
    {
        std::string name;
        const auto task = std::make_shared<Task>([&] { name = currentThreadName(); });
        queue->addTask(task);
        task->waitTillFinished();
        return name;
    }

    const int normalWorkers = TaskQueue::getGlobalQueue(eQOS_Normal)->getMaxConcurrency();
    const std::string nextName = WorkerThreads::name(eQOS_Normal, normalWorkers + 1);
};

} // namespace

TEST(WorkerThreadName, isTheClassAndTheNumber)
{
    EXPECT_EQ(WorkerThreads::name(eQOS_High, 1), "brnHigh-1");
    EXPECT_EQ(WorkerThreads::name(eQOS_Normal, 2), "brnNormal-2");
    EXPECT_EQ(WorkerThreads::name(eQOS_Low, 10), "brnLow-10");
    EXPECT_EQ(WorkerThreads::name(eQOS_Background, 2), "brnBackground-2");
    EXPECT_EQ(WorkerThreads::name(static_cast<EQualityOfService>(9), 3), "brnNormal-3");
}

TEST(WorkerThreadName, keepsTheNumberWithin15Bytes)
{
    EXPECT_EQ(WorkerThreads::name(eQOS_Background, 12), "brnBackgroun-12");
    EXPECT_EQ(WorkerThreads::name(eQOS_Background, 1234), "brnBackgro-1234");
    EXPECT_EQ(WorkerThreads::name(eQOS_Normal, 1234567).size(), 15U);
}

TEST_F(WorkerThreadsTest, theSystemShowsTheNamesOfTheGlobalWorkers)
{
    for (const std::string name : {"brnHigh-1", "brnNormal-1", "brnLow-1", "brnBackground-1"})
        EXPECT_TRUE(serveUntil([&] {
            const std::vector<std::string> names = threadNames();
            return std::find(names.begin(), names.end(), name) != names.end();
        })) << name;
}

TEST_F(WorkerThreadsTest, noTwoWorkersOfAClassHaveTheSameNumber)
{
    const std::shared_ptr<TaskQueue> first = TaskQueue::createQueue(eQOS_Normal, 1);
    const std::shared_ptr<TaskQueue> second = TaskQueue::createQueue(eQOS_Normal, 1);
    EXPECT_EQ(nameOfWorker(first), nextName);
    EXPECT_EQ(nameOfWorker(second), WorkerThreads::name(eQOS_Normal, normalWorkers + 2));
}

TEST_F(WorkerThreadsTest, theNumberOfAWorkerThatHasEndedIsGivenAgain)
{
    const std::size_t workers = WorkerThreads::count();
    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    EXPECT_EQ(WorkerThreads::count(), workers + 1);
    queue.reset();
    ASSERT_TRUE(serveUntil([&] { return WorkerThreads::count() == workers; }));
    EXPECT_EQ(nameOfWorker(TaskQueue::createQueue(eQOS_Normal, 1)), nextName);
}

TEST_F(WorkerThreadsTest, theThreadsOfAQueueEndWithIt)
{
    const std::size_t threads = threadCount();
    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Low, 5);
    EXPECT_EQ(threadCount(), threads + 5);
    queue.reset();
    EXPECT_TRUE(serveUntil([&] { return threadCount() == threads; }));
}

TEST_F(WorkerThreadsTest, theThreadsOfAQueueThatEndsWithoutAnApplicationObjectEndToo)
{
    application.reset();
    const std::size_t threads = threadCount();
    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Low, 5);
    queue.reset();
    EXPECT_TRUE(serveUntil([&] { return threadCount() == threads; }));
}
