// What a host can do in a slot that is connected directly to a queue's announcements.
#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <QObject>
#include <QThread>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/AnnouncementSlot.h"
#include "support/HostObjects.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

class AnnouncementTest : public TaskFixture
{
protected:
    /// Expects a task to run and \c addTask to return, called in a thread of its own. An exception of the slot ends there.
    static void expectToRun(const std::shared_ptr<TaskQueue>& queue)
    {
        const auto done = std::make_shared<Latch>();
        expectToReturn([queue, done] {
            try {
                queue->addTask(std::make_shared<Task>([done] { done->countDown(); }));
            } catch (const std::runtime_error&) {
            }
        });
        EXPECT_TRUE(done->wait(hangLimit)) << "the task has not been run";
    }

    /// Calls \p add in a thread of its own, which is given up if it hangs.
    static void expectToReturn(const std::function<void()>& add)
    {
        const auto returned = std::make_shared<Latch>();
        auto thread = std::make_unique<std::thread>([add, returned] {
            add();
            returned->countDown();
        });
        if (returned->wait(hangLimit)) {
            thread->join();
            return;
        }
        ADD_FAILURE() << "addTask has not returned";
        static_cast<void>(thread.release());
    }

    template <typename Slot>
    static std::shared_ptr<AnnouncementSlot> connect(const std::shared_ptr<TaskQueue>& queue, Slot slot)
    {
        return std::make_shared<AnnouncementSlot>(*queue, slot);
    }

    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 2);
};

} // namespace

TEST_F(AnnouncementTest, slotMayWaitForTheTask)
{
    const auto slot = connect(queue, [](Task* task) { task->waitTillFinished(); });
    for (int round = 0; round < 20 && !HasFailure(); ++round)
        expectToRun(queue);
}

TEST_F(AnnouncementTest, slotMayWaitForTheTaskOfAQueueWithOneWorker)
{
    queue = TaskQueue::createQueue(eQOS_Normal, 1);
    const auto slot = connect(queue, [](Task* task) { task->waitTillFinished(); });
    for (int round = 0; round < 20 && !HasFailure(); ++round)
        expectToRun(queue);
}

TEST_F(AnnouncementTest, slotMayWaitForTheTaskInAWorker)
{
    const auto slot = connect(queue, [](Task* task) {
        static thread_local bool isWaiting = false;
        if (!std::exchange(isWaiting, true))
            task->waitTillFinished();
        isWaiting = false;
    });
    const auto done = std::make_shared<Latch>();
    expectToReturn([queue = queue, done] {
        queue->addTask(std::make_shared<Task>(
            [queue, done] { queue->addTask(std::make_shared<Task>([done] { done->countDown(); })); }));
    });
    EXPECT_TRUE(done->wait(hangLimit));
}

TEST_F(AnnouncementTest, slotThatThrowsDoesNotKeepTheTaskFromBeingRun)
{
    const auto slot = connect(queue, [](Task*) { throw std::runtime_error("slot"); });
    for (int round = 0; round < 20 && !HasFailure(); ++round)
        expectToRun(queue);
}

TEST_F(AnnouncementTest, slotThatThrowsDoesNotKeepTasksOfAGlobalQueueFromBeingRun)
{
    const AnnouncementSlot slot(*TaskQueue::getGlobalQueue(eQOS_Low),
                                [](Task*) { throw std::runtime_error("slot"); });
    const auto done = std::make_shared<Latch>();
    try {
        dispatchAsync([done] { done->countDown(); }, eQOS_Low);
    } catch (const std::runtime_error&) {
    }
    EXPECT_TRUE(done->wait(hangLimit));
}

TEST(PlainSignal, slotThatThrowsDoesNotKeepAnotherFromBeingCalled)
{
    const auto application = makeApplication();
    QObject sender;
    bool isCalled = false;
    QObject::connect(
        &sender, &QObject::objectNameChanged, &sender, [&] { isCalled = true; }, Qt::QueuedConnection);
    QObject::connect(
        &sender, &QObject::objectNameChanged, &sender, [] { throw std::runtime_error("slot"); },
        Qt::DirectConnection);
    EXPECT_THROW(sender.setObjectName("name"), std::runtime_error);
    EXPECT_TRUE(serveUntil([&] { return isCalled; }));
}

TEST_F(AnnouncementTest, isEmittedOncePerTaskInTheAddingThread)
{
    constexpr int perThread = 200;
    std::mutex mutex;
    std::multiset<Task*> announced;
    bool isInAddingThread = true;
    thread_local bool isAddingThread = false;
    const auto slot = connect(queue, [&](Task* task) {
        const std::lock_guard<std::mutex> lock(mutex);
        announced.insert(task);
        isInAddingThread = isInAddingThread && isAddingThread;
    });
    std::vector<std::shared_ptr<Task>> tasks(4 * perThread);
    for (std::shared_ptr<Task>& task : tasks)
        task = std::make_shared<Task>([] {});
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            isAddingThread = true;
            for (std::size_t i = 0; i < perThread; ++i)
                queue->addTask(tasks[thread * perThread + i]);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(isInAddingThread);
    std::multiset<Task*> expected;
    for (const std::shared_ptr<Task>& task : tasks)
        expected.insert(task.get());
    EXPECT_EQ(announced, expected);
    for (const std::shared_ptr<Task>& task : tasks)
        task->waitTillFinished();
}

TEST_F(AnnouncementTest, isEmittedOnceForACallableThatIsDispatched)
{
    std::vector<Task*> announced;
    const AnnouncementSlot slot(*TaskQueue::getGlobalQueue(eQOS_High),
                                [&](Task* task) { announced.push_back(task); });
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(dispatchSync([] {}, eQOS_High));
    ASSERT_EQ(announced.size(), 10U);
    EXPECT_EQ(std::count(announced.begin(), announced.end(), nullptr), 0);
}

TEST_F(AnnouncementTest, isOfATaskWhoseStateCanBeRead)
{
    BlockingTask blocking[2];
    for (BlockingTask& each : blocking) {
        queue->addTask(each.task);
        ASSERT_TRUE(each.hasStarted());
    }
    std::vector<Task::ETaskState> states;
    const auto slot = connect(queue, [&](Task* task) { states.push_back(task->getTaskState()); });
    const auto task = addTask(queue, [] {});
    EXPECT_EQ(states, std::vector<Task::ETaskState>{Task::ePending});
    blocking[0].release();
    task->waitTillFinished();
}

TEST_F(AnnouncementTest, isOfATaskThatTheSlotMayRunItself)
{
    BlockingTask blocking[2];
    for (BlockingTask& each : blocking) {
        queue->addTask(each.task);
        ASSERT_TRUE(each.hasStarted());
    }
    std::atomic<int> runs{0};
    const auto slot = connect(queue, [&](Task* task) { task->runTask(); });
    const auto task = addTask(queue, [&] { ++runs; });
    EXPECT_EQ(runs, 1);
    for (BlockingTask& each : blocking)
        each.release();
    addTask(queue, [] {})->waitTillFinished(); // behind the place of the first
    EXPECT_EQ(runs, 1);
}

TEST_F(AnnouncementTest, isEmittedWithNoLockHeld)
{
    int added = 0;
    std::atomic<int> runs{0};
    std::vector<std::shared_ptr<Task>> inner;
    std::function<void(Task*)> addOne = [&](Task*) {
        if (++added > 100)
            return;
        inner.push_back(std::make_shared<Task>([&] { ++runs; }));
        queue->addTask(inner.back());
        EXPECT_EQ(queue->getMaxConcurrency(), 2);
    };
    const auto slot = connect(queue, addOne);
    const auto outer = addTask(queue, [&] { ++runs; });
    outer->waitTillFinished();
    for (const auto& task : std::vector<std::shared_ptr<Task>>(inner))
        task->waitTillFinished();
    EXPECT_EQ(runs, 101);
}
