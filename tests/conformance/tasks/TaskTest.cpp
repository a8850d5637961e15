#include <brn_mesh_kernel/tasks/Task.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <QPointer>
#include <QThread>

#include "support/DetachedThread.h"
#include "support/Eventually.h"
#include "support/TaskFixture.h"

using namespace Brennic;
using namespace Brennic::Testing;
using Core::Task;
using Core::TaskQueue;

namespace {

class TaskTest : public TaskFixture
{
protected:
    std::function<void()> counting()
    {
        return [this] { ++calls; };
    }

    int calls = 0;
};

} // namespace

TEST_F(TaskTest, theMetaObjectNamesTheClassAndDeclaresNothing)
{
    const QMetaObject& meta = Task::staticMetaObject;
    EXPECT_STREQ(meta.className(), "Brennic::Core::Task");
    EXPECT_EQ(meta.superClass(), &QObject::staticMetaObject);
    EXPECT_EQ(meta.methodCount(), meta.methodOffset());
    EXPECT_EQ(meta.propertyCount(), meta.propertyOffset());
}

TEST_F(TaskTest, theBasesStandInTheirOrder)
{
    Task task;
    EXPECT_EQ(static_cast<void*>(static_cast<QObject*>(&task)), static_cast<void*>(&task));
    EXPECT_GT(reinterpret_cast<char*>(static_cast<Objects::SharedObject<Task>*>(&task)),
              reinterpret_cast<char*>(static_cast<QObject*>(&task)));
}

TEST_F(TaskTest, statesHaveTheFixedValues)
{
    EXPECT_EQ(static_cast<int>(Task::ePending), 0);
    EXPECT_EQ(static_cast<int>(Task::eRunning), 1);
    EXPECT_EQ(static_cast<int>(Task::eFinished), 2);
    EXPECT_EQ(sizeof(Task::ETaskState), 4U);
}

TEST_F(TaskTest, aNewTaskIsPendingAndHasNoParent)
{
    Task task(counting());
    EXPECT_EQ(task.getTaskState(), Task::ePending);
    EXPECT_EQ(task.parent(), nullptr);
    EXPECT_EQ(task.thread(), QThread::currentThread());
    EXPECT_EQ(calls, 0);
}

TEST_F(TaskTest, runTaskRunsTheCallableOnceAndFinishes)
{
    Task task(counting());
    task.runTask();
    EXPECT_EQ(task.getTaskState(), Task::eFinished);
    task.runTask();
    EXPECT_EQ(calls, 1);
}

TEST_F(TaskTest, theCallableSeesTheTaskRunningAndHoldsNoLock)
{
    Task task;
    Task::ETaskState inside = Task::ePending;
    task = [&] { inside = task.getTaskState(); };
    task.runTask();
    EXPECT_EQ(inside, Task::eRunning);
}

TEST_F(TaskTest, runningATaskFromInsideItselfDoesNothing)
{
    Task task;
    task = [&] {
        ++calls;
        task.runTask();
    };
    task.runTask();
    EXPECT_EQ(calls, 1);
}

TEST_F(TaskTest, aFinishedTaskWithANewCallableRunsThat)
{
    Task task(counting());
    task.runTask();
    int second = 0;
    Task& result = (task = [&second] { ++second; });
    EXPECT_EQ(&result, &task);
    EXPECT_EQ(task.getTaskState(), Task::ePending);
    task.runTask();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(second, 1);
}

TEST_F(TaskTest, anAssignmentToARunningTaskIsLost)
{
    BlockingTask blocking;
    std::thread runner([&] { blocking.task->runTask(); });
    ASSERT_TRUE(blocking.hasStarted());
    *blocking.task = counting();
    *blocking.task = Task(counting());
    EXPECT_EQ(blocking.task->getTaskState(), Task::eRunning);
    blocking.release();
    runner.join();
    EXPECT_EQ(blocking.task->getTaskState(), Task::eFinished);
    EXPECT_EQ(calls, 0);
}

TEST_F(TaskTest, aCopyOfAFinishedTaskIsPendingWithTheSameCallable)
{
    Task task(counting());
    task.runTask();
    Task copy(task);
    EXPECT_EQ(copy.getTaskState(), Task::ePending);
    EXPECT_EQ(task.getTaskState(), Task::eFinished);
    copy.runTask();
    EXPECT_EQ(calls, 2);
}

TEST_F(TaskTest, aCopyHasNoQueue)
{
    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(Core::eQOS_Normal, 1);
    auto task = std::make_shared<Task>(counting());
    queue->addTask(task);
    task->waitTillFinished();
    const QPointer<TaskQueue> watch(queue.get());
    const auto copy = std::make_shared<Task>(*task);
    *task = Task(); // an assignment does not touch the queue
    queue.reset();
    EXPECT_FALSE(watch.isNull());
    task.reset();
    EXPECT_TRUE(eventually([&] { return watch.isNull(); })) << "the copy holds it";
}

TEST_F(TaskTest, assignmentFromATaskCopiesItsCallable)
{
    Task source(counting());
    source.runTask();
    Task target;
    Task& result = (target = source);
    EXPECT_EQ(&result, &target);
    target.runTask();
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(source.getTaskState(), Task::eFinished);
}

TEST_F(TaskTest, aFinishedTaskThatIsAssignedToItselfCanRunAgain)
{
    Task task(counting());
    task.runTask();
    Task& same = task;
    task = same;
    EXPECT_EQ(task.getTaskState(), Task::ePending);
    task.runTask();
    EXPECT_EQ(calls, 2);
}

TEST_F(TaskTest, anEmptyCallableThrowsAndLeavesTheTaskRunning)
{
    Task task;
    EXPECT_THROW(task.runTask(), std::bad_function_call);
    EXPECT_EQ(task.getTaskState(), Task::eRunning);
    EXPECT_NO_THROW(task.runTask());
}

TEST_F(TaskTest, anExceptionPassesThroughAndLeavesTheTaskRunning)
{
    Task task([] { throw std::runtime_error("callable"); });
    EXPECT_THROW(task.runTask(), std::runtime_error);
    EXPECT_EQ(task.getTaskState(), Task::eRunning);
    task = counting(); // lost: the task counts as running for good
    task.runTask();
    EXPECT_EQ(calls, 0);
}

TEST_F(TaskTest, aWaitForATaskThatHasThrownDoesNotEnd)
{
    // Never destroyed: the waiting thread is still there when the process ends.
    auto* const task = new Task([] { throw std::runtime_error("callable"); });
    auto* const returned = new Latch;
    EXPECT_THROW(task->runTask(), std::runtime_error);
    runDetached([task, returned] {
        task->waitTillFinished();
        returned->countDown();
    });
    EXPECT_FALSE(returned->wait(std::chrono::milliseconds(200)));
}

TEST_F(TaskTest, waitingForAFinishedTaskReturnsAtOnce)
{
    Task task(counting());
    task.runTask();
    task.waitTillFinished();
    EXPECT_EQ(task.getTaskState(), Task::eFinished);
}

TEST_F(TaskTest, everyWaitingThreadIsWokenWhenTheTaskFinishes)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(Core::eQOS_Normal, 1);
    BlockingTask blocking;
    queue->addTask(blocking.task);
    ASSERT_TRUE(blocking.hasStarted());
    std::vector<std::thread> waiting;
    for (int i = 0; i < 4; ++i)
        waiting.emplace_back([&] {
            blocking.task->waitTillFinished();
            EXPECT_EQ(blocking.task->getTaskState(), Task::eFinished);
        });
    blocking.release();
    for (std::thread& thread : waiting)
        thread.join();
}

TEST_F(TaskTest, aTaskThatWasNeverQueuedCanBeWaitedFor)
{
    BlockingTask blocking;
    Latch returned;
    std::thread runner([&] { blocking.task->runTask(); });
    ASSERT_TRUE(blocking.hasStarted());
    std::thread waiter([&] {
        blocking.task->waitTillFinished();
        returned.countDown();
    });
    EXPECT_FALSE(returned.wait(std::chrono::milliseconds(50)));
    blocking.release();
    EXPECT_TRUE(returned.wait());
    runner.join();
    waiter.join();
}

TEST_F(TaskTest, aWaitForAPendingTaskThatWasNeverQueuedEndsWhenSomebodyRunsIt)
{
    const auto task = std::make_shared<Task>(counting());
    Latch returned;
    std::thread waiter([&] {
        task->waitTillFinished();
        returned.countDown();
    });
    EXPECT_FALSE(returned.wait(std::chrono::milliseconds(50)));
    EXPECT_EQ(task->getTaskState(), Task::ePending);
    task->runTask();
    EXPECT_TRUE(returned.wait());
    waiter.join();
    EXPECT_EQ(calls, 1);
}

TEST_F(TaskTest, aTaskHoldsTheQueueThatItWasAddedTo)
{
    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(Core::eQOS_Normal, 1);
    auto task = std::make_shared<Task>(counting());
    queue->addTask(task);
    task->waitTillFinished();
    const QPointer<TaskQueue> watch(queue.get());
    queue.reset();
    EXPECT_FALSE(watch.isNull());
    // The worker that has run the task may hold it a little longer.
    ASSERT_TRUE(serveUntil([&] { return task.use_count() == 1; }));
    task.reset();
    EXPECT_TRUE(watch.isNull());
}

TEST_F(TaskTest, aRunningTaskKeepsItsOldQueue)
{
    std::shared_ptr<TaskQueue> first = TaskQueue::createQueue(Core::eQOS_Normal, 1);
    std::shared_ptr<TaskQueue> second = TaskQueue::createQueue(Core::eQOS_Normal, 1);
    const QPointer<TaskQueue> firstWatch(first.get());
    const QPointer<TaskQueue> secondWatch(second.get());
    auto blocking = std::make_unique<BlockingTask>();
    first->addTask(blocking->task);
    ASSERT_TRUE(blocking->hasStarted());
    second->addTask(blocking->task); // finds it running, and lets go of it
    first.reset();
    EXPECT_FALSE(firstWatch.isNull());
    second.reset();
    EXPECT_TRUE(serveUntil([&] { return secondWatch.isNull(); }));
    EXPECT_FALSE(firstWatch.isNull());
}

TEST_F(TaskTest, addingAFinishedTaskToAnotherQueueReleasesTheFirst)
{
    std::shared_ptr<TaskQueue> first = TaskQueue::createQueue(Core::eQOS_Normal, 1);
    const std::shared_ptr<TaskQueue> second = TaskQueue::createQueue(Core::eQOS_Normal, 1);
    const auto task = std::make_shared<Task>(counting());
    first->addTask(task);
    task->waitTillFinished();
    const QPointer<TaskQueue> watch(first.get());
    first.reset();
    second->addTask(task);
    EXPECT_TRUE(watch.isNull());
}

TEST_F(TaskTest, theCallableIsReleasedWithTheTask)
{
    auto token = std::make_shared<int>(0);
    auto task = std::make_shared<Task>([token] {});
    EXPECT_EQ(token.use_count(), 2);
    task.reset();
    EXPECT_EQ(token.use_count(), 1);
}
