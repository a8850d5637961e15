#include <brn_mesh_kernel/tasks/TaskWorker.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <QMetaMethod>

#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

/// Counts the events that reach workers in the GUI thread.
class WorkerEventCount : public QObject
{
public:
    WorkerEventCount() { QCoreApplication::instance()->installEventFilter(this); }
    bool eventFilter(QObject* receiver, QEvent*) override
    {
        if (qobject_cast<TaskWorker*>(receiver) != nullptr)
            ++count;
        return false;
    }
    int count = 0;
};

class TaskWorkerTest : public TaskFixture
{
protected:
    void dispatchAside(int tasks)
    {
        std::thread([&] {
            for (int i = 0; i < tasks; ++i)
                TaskQueue::getGUIQueue()->addTask(std::make_shared<Task>([this] { ++runs; }));
        }).join();
    }

    int runs = 0;
};

} // namespace

TEST_F(TaskWorkerTest, theMetaObjectNamesTheClassWithItsOneSlot)
{
    const QMetaObject& meta = TaskWorker::staticMetaObject;
    EXPECT_STREQ(meta.className(), "Brennic::Core::TaskWorker");
    EXPECT_EQ(meta.superClass(), &QObject::staticMetaObject);
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 1);
    const QMetaMethod method = meta.method(meta.methodOffset());
    EXPECT_EQ(method.methodType(), QMetaMethod::Slot);
    EXPECT_EQ(method.methodSignature(), "tryRunTask(Task*)");
}

TEST_F(TaskWorkerTest, aGuiWorkerStaysInTheThreadThatMadeIt)
{
    TaskWorker worker(TaskQueue::getGUIQueue());
    EXPECT_EQ(worker.thread(), QThread::currentThread());
    EXPECT_FALSE(worker.isPaused());
    EXPECT_EQ(QThread::currentThread()->priority(), QThread::HighestPriority);
}

TEST_F(TaskWorkerTest, tryRunTaskRunsATaskThatIsPendingAndIgnoresAnyOther)
{
    TaskWorker worker(TaskQueue::getGUIQueue());
    dispatchAside(0);
    const auto task = std::make_shared<Task>([this] { ++runs; });
    worker.tryRunTask(task.get());
    EXPECT_EQ(runs, 0);
    std::thread([&] { TaskQueue::getGUIQueue()->addTask(task); }).join();
    worker.tryRunTask(task.get());
    EXPECT_EQ(runs, 1);
    worker.tryRunTask(task.get());
    EXPECT_EQ(runs, 1);
}

TEST_F(TaskWorkerTest, aWorkerWhoseQueueHasGoneClaimsNothing)
{
    TaskWorker worker(TaskQueue::getGUIQueue());
    const auto task = std::make_shared<Task>([this] { ++runs; });
    std::thread([&] { TaskQueue::getGUIQueue()->addTask(task); }).join();
    worker.loseQueue();
    worker.tryRunTask(task.get());
    EXPECT_EQ(runs, 0);
    EXPECT_TRUE(serveUntil([&] { return runs == 1; })); // by the queue's own worker
}

TEST_F(TaskWorkerTest, oneEventIsOnItsWayHoweverManyTasksArrive)
{
    WorkerEventCount events;
    dispatchAside(TaskWorker::batchLimit);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(events.count, 1);
    ASSERT_TRUE(serveUntil([&] { return runs == TaskWorker::batchLimit; }));
    EXPECT_LE(events.count, 2); // the one that is sent ahead, for tasks that serve events, finds nothing
}

TEST_F(TaskWorkerTest, aSingleTaskTakesASingleEvent)
{
    WorkerEventCount events;
    for (int i = 1; i <= 10; ++i) {
        dispatchAside(1);
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents();
        EXPECT_EQ(runs, i);
        EXPECT_EQ(events.count, i);
    }
}

TEST_F(TaskWorkerTest, anEventHandsOverOneBatchAtMost)
{
    constexpr int batches = 5;
    dispatchAside(batches * TaskWorker::batchLimit);
    for (int i = 1; i <= batches; ++i) {
        QCoreApplication::sendPostedEvents();
        EXPECT_LE(runs, i * TaskWorker::batchLimit);
    }
    EXPECT_TRUE(serveUntil([&] { return runs == batches * TaskWorker::batchLimit; }));
}

TEST_F(TaskWorkerTest, aBatchOfSlowGuiTasksIsCutShort)
{
    std::thread([&] {
        for (int i = 0; i < 100; ++i)
            TaskQueue::getGUIQueue()->addTask(std::make_shared<Task>([this] {
                QThread::msleep(1);
                ++runs;
            }));
    }).join();
    QCoreApplication::sendPostedEvents();
    EXPECT_GT(runs, 0);
    EXPECT_LT(runs, 20);
    EXPECT_TRUE(serveUntil([&] { return runs == 100; }));
}
