#include <brn_mesh_kernel/tasks/GlobalQueues.h>

#include <memory>

#include <gtest/gtest.h>

#include <QPointer>

#include <brn_mesh_kernel/kernel/LibraryEntry.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/WorkerThreads.h>

#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

constexpr EQualityOfService allClasses[] = {eQOS_GUI, eQOS_High, eQOS_Normal, eQOS_Low, eQOS_Background};

class GlobalQueuesTest : public TaskFixture
{
};

} // namespace

TEST_F(GlobalQueuesTest, theTableIsFilledBeforeMain)
{
    for (const EQualityOfService qos : allClasses)
        EXPECT_NE(GlobalQueues::find(qos), nullptr);
}

TEST_F(GlobalQueuesTest, clearingEmptiesTheTableAndEndsTheQueuesWithTheirWorkers)
{
    const QPointer<TaskQueue> normal(GlobalQueues::find(eQOS_Normal));
    GlobalQueues::clearGlobalQueues();
    for (const EQualityOfService qos : allClasses)
        EXPECT_EQ(TaskQueue::getGlobalQueue(qos), nullptr);
    EXPECT_TRUE(normal.isNull());
    EXPECT_FALSE(dispatchAsync([] {}, eQOS_Normal));
    EXPECT_FALSE(dispatchSync([] {}, eQOS_GUI));
    EXPECT_TRUE(serveUntil([] {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return WorkerThreads::count() == 0;
    }));
}

TEST_F(GlobalQueuesTest, aQueueThatATaskHoldsOutlivesTheTable)
{
    const QPointer<TaskQueue> normal(GlobalQueues::find(eQOS_Normal));
    auto blocking = std::make_unique<BlockingTask>();
    GlobalQueues::find(eQOS_Normal)->addTask(blocking->task);
    ASSERT_TRUE(blocking->hasStarted());
    GlobalQueues::clearGlobalQueues();
    EXPECT_FALSE(normal.isNull());
    blocking.reset();
    EXPECT_TRUE(serveUntil([&] { return normal.isNull(); }));
}

TEST_F(GlobalQueuesTest, theTableCanBeFilledAgain)
{
    GlobalQueues::initGlobalQueues();
    EXPECT_TRUE(dispatchSync([] {}, eQOS_Normal));
    EXPECT_TRUE(dispatchSync([] {}, eQOS_GUI));
}

TEST_F(GlobalQueuesTest, onceTheLibraryIsDetachedDispatchingIsRefused)
{
    libraryDetached();
    libraryDetached();
    for (const EQualityOfService qos : allClasses) {
        EXPECT_EQ(TaskQueue::getGlobalQueue(qos), nullptr);
        EXPECT_FALSE(dispatchAsync([] {}, qos));
        EXPECT_FALSE(dispatchSync([] {}, qos));
    }
}

TEST_F(GlobalQueuesTest, onceTheLibraryIsDetachedAWaitRunsItsTaskItself)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    libraryDetached();
    QThread* thread = nullptr;
    const auto task = std::make_shared<Task>([&] { thread = QThread::currentThread(); });
    queue->addTask(task);
    task->waitTillFinished();
    EXPECT_EQ(thread, QThread::currentThread());
}

TEST_F(GlobalQueuesTest, aWorkerCompletesItsTaskAndNoOtherOnceTheLibraryIsDetached)
{
    // Never destroyed: the worker holds what it has run until the process ends.
    static auto* const queue = new std::shared_ptr<TaskQueue>(TaskQueue::createQueue(eQOS_Normal, 1));
    static auto* const running = new BlockingTask;
    static auto* const pending = new std::shared_ptr<Task>(std::make_shared<Task>([] {}));
    (*queue)->addTask(running->task);
    ASSERT_TRUE(running->hasStarted());
    (*queue)->addTask(*pending);
    libraryDetached();
    running->release();
    running->task->waitTillFinished();
    EXPECT_EQ((*pending)->getTaskState(), Task::ePending);
}
