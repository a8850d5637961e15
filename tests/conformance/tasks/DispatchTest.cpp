#include <brn_mesh_kernel/tasks/Dispatch.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include <QThread>

#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/AnnouncementCount.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

class DispatchTest : public TaskFixture
{
};

constexpr auto noClass = static_cast<EQualityOfService>(5);

} // namespace

TEST_F(DispatchTest, thereIsAGlobalQueueForEachServiceClass)
{
    for (const EQualityOfService qos : {eQOS_GUI, eQOS_High, eQOS_Normal, eQOS_Low, eQOS_Background}) {
        TaskQueue* const queue = TaskQueue::getGlobalQueue(qos);
        ASSERT_NE(queue, nullptr);
        EXPECT_EQ(queue->getQOS(), qos);
        EXPECT_EQ(TaskQueue::getGlobalQueue(qos), queue);
    }
}

TEST_F(DispatchTest, globalQueuesHaveOneWorkerLessThanTheMachineHasThreads)
{
    const int expected = std::max(1, QThread::idealThreadCount() - 1);
    for (const EQualityOfService qos : {eQOS_High, eQOS_Normal, eQOS_Low, eQOS_Background})
        EXPECT_EQ(TaskQueue::getGlobalQueue(qos)->getMaxConcurrency(), expected);
}

TEST_F(DispatchTest, theGuiQueueIsTheGlobalQueueOfItsClass)
{
    EXPECT_EQ(TaskQueue::getGUIQueue(), TaskQueue::getGlobalQueue(eQOS_GUI));
    EXPECT_EQ(TaskQueue::getGUIQueue()->getMaxConcurrency(), 1);
    EXPECT_EQ(TaskQueue::getGUIQueue()->getQOS(), eQOS_GUI);
}

TEST_F(DispatchTest, thereIsNoQueueForOtherValues)
{
    EXPECT_EQ(TaskQueue::getGlobalQueue(noClass), nullptr);
    EXPECT_EQ(TaskQueue::getGlobalQueue(static_cast<EQualityOfService>(-1)), nullptr);
}

TEST_F(DispatchTest, globalQueuesRunAtThePriorityOfTheirClass)
{
    const auto priority = [](EQualityOfService qos) {
        QThread::Priority result = QThread::InheritPriority;
        dispatchSync([&] { result = QThread::currentThread()->priority(); }, qos);
        return result;
    };
    EXPECT_EQ(priority(eQOS_GUI), QThread::HighestPriority);
    EXPECT_EQ(priority(eQOS_High), QThread::HighPriority);
    EXPECT_EQ(priority(eQOS_Normal), QThread::NormalPriority);
    EXPECT_EQ(priority(eQOS_Low), QThread::LowPriority);
    EXPECT_EQ(priority(eQOS_Background), QThread::IdlePriority);
}

TEST_F(DispatchTest, anEmptyCallableIsRefused)
{
    const AnnouncementCount announcements(*TaskQueue::getGlobalQueue(eQOS_Normal));
    EXPECT_FALSE(dispatchAsync({}, eQOS_Normal));
    EXPECT_FALSE(dispatchSync({}, eQOS_Normal));
    EXPECT_EQ(announcements.count(), 0);
}

TEST_F(DispatchTest, anUnknownClassIsRefusedAndTheCallableNotRun)
{
    bool hasRun = false;
    EXPECT_FALSE(dispatchAsync([&] { hasRun = true; }, noClass));
    EXPECT_FALSE(dispatchSync([&] { hasRun = true; }, noClass));
    EXPECT_FALSE(hasRun);
}

TEST_F(DispatchTest, dispatchAsyncReturnsWhileTheCallableRuns)
{
    Latch mayEnd;
    Latch done;
    EXPECT_TRUE(dispatchAsync(
        [&] {
            mayEnd.wait();
            done.countDown();
        },
        eQOS_Normal));
    EXPECT_FALSE(done.isDown());
    mayEnd.countDown();
    EXPECT_TRUE(done.wait());
}

TEST_F(DispatchTest, dispatchSyncReturnsAfterTheCallableHasReturned)
{
    for (const EQualityOfService qos : {eQOS_High, eQOS_Normal, eQOS_Low, eQOS_Background}) {
        std::atomic<bool> hasReturned{false};
        QThread* thread = nullptr;
        EXPECT_TRUE(dispatchSync(
            [&] {
                thread = QThread::currentThread();
                QThread::msleep(5);
                hasReturned = true;
            },
            qos));
        EXPECT_TRUE(hasReturned);
        EXPECT_NE(thread, QThread::currentThread());
    }
}

TEST_F(DispatchTest, theCallableIsCopied)
{
    Latch mayStart;
    Latch done;
    int result = 0;
    std::function<void()> function = [&] {
        mayStart.wait();
        result = 1;
        done.countDown();
    };
    dispatchAsync(function, eQOS_Normal);
    function = [&] { result = 2; };
    mayStart.countDown();
    ASSERT_TRUE(done.wait());
    EXPECT_EQ(result, 1);
}

TEST_F(DispatchTest, inTheGuiThreadGuiCallablesRunAtOnce)
{
    QThread* thread = nullptr;
    EXPECT_TRUE(dispatchAsync([&] { thread = QThread::currentThread(); }, eQOS_GUI));
    EXPECT_EQ(thread, QThread::currentThread());
    thread = nullptr;
    EXPECT_TRUE(dispatchSync([&] { thread = QThread::currentThread(); }, eQOS_GUI));
    EXPECT_EQ(thread, QThread::currentThread());
}

TEST_F(DispatchTest, fromAnotherThreadDispatchSyncWaitsForTheGuiThread)
{
    QThread* thread = nullptr;
    Latch returned;
    std::thread other([&] {
        EXPECT_TRUE(dispatchSync([&] { thread = QThread::currentThread(); }, eQOS_GUI));
        returned.countDown();
    });
    EXPECT_FALSE(returned.wait(std::chrono::milliseconds(50)));
    EXPECT_TRUE(serveUntil([&] { return returned.isDown(); }));
    other.join();
    EXPECT_EQ(thread, QThread::currentThread());
}

TEST_F(DispatchTest, aTaskMayDispatchSyncToItsOwnQueueHoweverFewWorkersThereAre)
{
    bool hasRunInside = false;
    EXPECT_TRUE(dispatchSync([&] { EXPECT_TRUE(dispatchSync([&] { hasRunInside = true; }, eQOS_Normal)); },
                             eQOS_Normal));
    EXPECT_TRUE(hasRunInside);
}

TEST_F(DispatchTest, anExceptionOfAGuiCallableInTheGuiThreadComesOutOfTheCall)
{
    EXPECT_THROW(dispatchAsync([] { throw std::runtime_error("callable"); }, eQOS_GUI), std::runtime_error);
    EXPECT_TRUE(dispatchSync([] {}, eQOS_GUI)); // the queue goes on
}
