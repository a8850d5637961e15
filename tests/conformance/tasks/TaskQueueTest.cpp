#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QMetaMethod>
#include <QPointer>
#include <QThread>

#include "support/AnnouncementCount.h"
#include "support/Latch.h"
#include "support/ProcessThreads.h"
#include "support/TaskFixture.h"

using namespace Brennic;
using namespace Brennic::Testing;
using namespace Brennic::Core;
using ::testing::ElementsAre;

namespace {

class TaskQueueTest : public TaskFixture
{
protected:
    static std::shared_ptr<Task> add(const std::shared_ptr<TaskQueue>& queue, const std::function<void()>& f)
    {
        auto task = std::make_shared<Task>(f);
        queue->addTask(task);
        return task;
    }

    static QThread::Priority priorityOfWorkers(EQualityOfService qos)
    {
        QThread::Priority priority = QThread::InheritPriority;
        add(TaskQueue::createQueue(qos, 1), [&] {
            priority = QThread::currentThread()->priority();
        })->waitTillFinished();
        return priority;
    }

    static int standardConcurrency() { return std::max(1, QThread::idealThreadCount() - 1); }
};

} // namespace

TEST_F(TaskQueueTest, theMetaObjectNamesTheClassWithItsOneSignal)
{
    const QMetaObject& meta = TaskQueue::staticMetaObject;
    EXPECT_STREQ(meta.className(), "Brennic::Core::TaskQueue");
    EXPECT_EQ(meta.superClass(), &QObject::staticMetaObject);
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 1);
    const QMetaMethod method = meta.method(meta.methodOffset());
    EXPECT_EQ(method.methodType(), QMetaMethod::Signal);
    EXPECT_EQ(method.methodSignature(), "newTaskArrived(Task*)");
    EXPECT_EQ(method.parameterNames().value(0), "pTask");
    EXPECT_EQ(method.access(), QMetaMethod::Protected);
}

TEST_F(TaskQueueTest, theBasesStandInTheirOrder)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    EXPECT_EQ(static_cast<void*>(static_cast<QObject*>(queue.get())), static_cast<void*>(queue.get()));
    EXPECT_GT(reinterpret_cast<char*>(static_cast<Objects::SharedObject<TaskQueue>*>(queue.get())),
              reinterpret_cast<char*>(static_cast<QObject*>(queue.get())));
}

TEST_F(TaskQueueTest, aNewQueueIsOwnedAndHasNoParent)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Low, 1);
    EXPECT_EQ(queue->shared_from_this(), queue);
    EXPECT_EQ(queue.use_count(), 1);
    EXPECT_EQ(queue->parent(), nullptr);
    EXPECT_EQ(queue->thread(), QThread::currentThread());
    EXPECT_EQ(queue->getQOS(), eQOS_Low);
}

TEST_F(TaskQueueTest, theWantedConcurrencyIsTheNumberOfWorkers)
{
    EXPECT_EQ(TaskQueue::createQueue(eQOS_Normal, 3)->getMaxConcurrency(), 3);
    EXPECT_EQ(TaskQueue::createQueue(eQOS_High, 1)->getMaxConcurrency(), 1);
}

TEST_F(TaskQueueTest, aConcurrencyBelowOneFollowsTheMachine)
{
    EXPECT_EQ(TaskQueue::createQueue(eQOS_High, 0)->getMaxConcurrency(), standardConcurrency());
    EXPECT_EQ(TaskQueue::createQueue(eQOS_High, -5)->getMaxConcurrency(), standardConcurrency());
}

TEST_F(TaskQueueTest, noQueueOfTheGuiClassIsMade)
{
    EXPECT_EQ(TaskQueue::createQueue(eQOS_GUI, 4), nullptr);
}

TEST_F(TaskQueueTest, workersRunAtThePriorityOfTheirClass)
{
    EXPECT_EQ(priorityOfWorkers(eQOS_High), QThread::HighPriority);
    EXPECT_EQ(priorityOfWorkers(eQOS_Normal), QThread::NormalPriority);
    EXPECT_EQ(priorityOfWorkers(eQOS_Low), QThread::LowPriority);
    EXPECT_EQ(priorityOfWorkers(eQOS_Background), QThread::IdlePriority);
    EXPECT_EQ(priorityOfWorkers(static_cast<EQualityOfService>(9)), QThread::NormalPriority);
}

TEST_F(TaskQueueTest, theThreadThatLoadedTheLibraryRunsAtTheHighestPriority)
{
    EXPECT_EQ(QThread::currentThread()->priority(), QThread::HighestPriority);
}

TEST_F(TaskQueueTest, anEmptyPointerIsIgnored)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    const AnnouncementCount announcements(*queue);
    queue->addTask(nullptr);
    EXPECT_EQ(announcements.count(), 0);
    add(queue, [] {})->waitTillFinished();
}

TEST_F(TaskQueueTest, everyTaskIsAnnouncedOnceAndRunOnce)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 3);
    const AnnouncementCount announcements(*queue);
    std::atomic<int> runs{0};
    Latch done(100);
    for (int i = 0; i < 100; ++i)
        add(queue, [&] {
            ++runs;
            done.countDown();
        });
    EXPECT_EQ(announcements.count(), 100);
    ASSERT_TRUE(done.wait());
    EXPECT_EQ(runs, 100);
}

TEST_F(TaskQueueTest, oneWorkerRunsItsTasksFirstInFirstOut)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    std::vector<int> order;
    std::shared_ptr<Task> last;
    for (int i = 0; i < 1000; ++i)
        last = add(queue, [&order, i] { order.push_back(i); });
    last->waitTillFinished();
    std::vector<int> expected(1000);
    for (int i = 0; i < 1000; ++i)
        expected[static_cast<std::size_t>(i)] = i;
    EXPECT_EQ(order, expected);
}

TEST_F(TaskQueueTest, aWorkerWhoseTaskServesEventsIsBusyAllTheSame)
{
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 2);
    for (int round = 0; round < 20; ++round) {
        Latch first;
        Latch second;
        add(queue, [&] {
            add(queue, [&] { first.countDown(); });
            EXPECT_TRUE(first.wait()); // by the other worker
            QCoreApplication::processEvents();
            add(queue, [&] { second.countDown(); });
            EXPECT_TRUE(second.wait());
        })->waitTillFinished();
    }
}

TEST_F(TaskQueueTest, aTaskThatHasServedEventsMayWaitForAnother)
{
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 2);
    Latch done;
    add(queue, [&] {
        add(queue, [] {})->waitTillFinished();
        QCoreApplication::processEvents();
        add(queue, [] {})->waitTillFinished();
        done.countDown();
    });
    ASSERT_TRUE(done.wait());
}

TEST_F(TaskQueueTest, tasksRunInThreadsOfTheQueuesOwnAndNoMoreAtATimeThanItHasWorkers)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 2);
    BlockingTask first;
    BlockingTask second;
    queue->addTask(first.task);
    queue->addTask(second.task);
    ASSERT_TRUE(first.hasStarted());
    ASSERT_TRUE(second.hasStarted());
    std::atomic<bool> hasRun{false};
    const std::shared_ptr<Task> third = add(queue, [&] { hasRun = true; });
    EXPECT_FALSE(hasRun);
    first.release();
    third->waitTillFinished();
    EXPECT_TRUE(hasRun);
    EXPECT_EQ(second.task->getTaskState(), Task::eRunning);
}

TEST_F(TaskQueueTest, aTaskThatIsAddedInsideAWorkerRunsAfterTheRunningOne)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    std::vector<int> order;
    std::shared_ptr<Task> inner;
    add(queue, [&] {
        inner = add(queue, [&] { order.push_back(2); });
        order.push_back(1);
    })->waitTillFinished();
    inner->waitTillFinished();
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST_F(TaskQueueTest, aTaskThatIsAddedTwiceRunsOnce)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 2);
    for (int round = 0; round < 100; ++round) {
        std::atomic<int> runs{0};
        const auto task = std::make_shared<Task>([&] { ++runs; });
        queue->addTask(task);
        queue->addTask(task);
        task->waitTillFinished();
        // Behind both entries of the first.
        add(queue, [] {})->waitTillFinished();
        EXPECT_EQ(runs, 1);
    }
}

TEST_F(TaskQueueTest, aWorkerThatWaitsWhileOthersAreBusyMovesNothing)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 2);
    BlockingTask busy;
    queue->addTask(busy.task);
    ASSERT_TRUE(busy.hasStarted());
    QThread* waiter = nullptr;
    QThread* runner = nullptr;
    std::shared_ptr<Task> waitedFor;
    Latch waiting;
    const std::shared_ptr<Task> waits = add(queue, [&] {
        waiter = QThread::currentThread();
        waitedFor = add(queue, [&] { runner = QThread::currentThread(); });
        waiting.countDown();
        waitedFor->waitTillFinished();
    });
    ASSERT_TRUE(waiting.wait());
    EXPECT_EQ(waitedFor->getTaskState(), Task::ePending);
    QThread* busyThread = nullptr;
    const std::shared_ptr<Task> pending = add(queue, [&] { busyThread = QThread::currentThread(); });
    busy.release(); // only now there is a worker for them
    waits->waitTillFinished();
    pending->waitTillFinished();
    EXPECT_NE(runner, waiter);
    EXPECT_TRUE(busyThread == runner || busyThread == waiter); // no overflow queue's
}

TEST_F(TaskQueueTest, whileAllWorkersWaitANewTaskRunsOnAnOverflowQueueThatEndsWithIt)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Low, 2);
    BlockingTask waitedFor;
    Latch started(2);
    Latch mayWait;
    QThread* workers[2] = {};
    const auto waitInWorker = [&](QThread*& worker) {
        return add(queue, [&] {
            worker = QThread::currentThread();
            started.countDown();
            mayWait.wait();
            waitedFor.task->waitTillFinished();
        });
    };
    const std::shared_ptr<Task> waits[2] = {waitInWorker(workers[0]), waitInWorker(workers[1])};
    ASSERT_TRUE(started.wait());
    queue->addTask(waitedFor.task);
    mayWait.countDown();
    ASSERT_TRUE(waitedFor.hasStarted()); // on an overflow queue, so that both workers wait now
    const std::size_t threadsBefore = threadCount();

    QThread* thread = nullptr;
    QThread::Priority priority = QThread::InheritPriority;
    add(queue, [&] {
        thread = QThread::currentThread();
        priority = thread->priority();
    })->waitTillFinished();
    EXPECT_NE(thread, workers[0]);
    EXPECT_NE(thread, workers[1]);
    EXPECT_EQ(priority, QThread::LowPriority);
    EXPECT_TRUE(serveUntil([&] { return threadCount() == threadsBefore; }));
    EXPECT_EQ(waits[0]->getTaskState(), Task::eRunning);
    EXPECT_EQ(waits[1]->getTaskState(), Task::eRunning);
    waitedFor.release();
    waits[0]->waitTillFinished();
    waits[1]->waitTillFinished();
}

TEST_F(TaskQueueTest, pendingTasksMoveToAnOverflowQueueInOrderWhenTheLastWorkerBeginsToWait)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    std::vector<std::pair<int, QThread*>> runs;
    QThread* worker = nullptr;
    Latch done; // a wait in this thread could move some of the tasks too, to a queue of its own
    add(queue, [&] {
        worker = QThread::currentThread();
        std::shared_ptr<Task> last;
        for (int i = 0; i < 10; ++i)
            last = add(queue, [&runs, i] { runs.emplace_back(i, QThread::currentThread()); });
        last->waitTillFinished();
        done.countDown();
    });
    ASSERT_TRUE(done.wait());
    ASSERT_EQ(runs.size(), 10U);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(runs[static_cast<std::size_t>(i)].first, i);
        EXPECT_EQ(runs[static_cast<std::size_t>(i)].second, runs[0].second); // one overflow queue for all
    }
    EXPECT_NE(runs[0].second, worker);
}

TEST_F(TaskQueueTest, aWorkerServesItsQueueAgainAfterItsWait)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    QThread* worker = nullptr;
    add(queue, [&] {
        worker = QThread::currentThread();
        add(queue, [] {})->waitTillFinished();
    })->waitTillFinished();
    QThread* after = nullptr;
    add(queue, [&] { after = QThread::currentThread(); })->waitTillFinished();
    EXPECT_EQ(after, worker);
}

TEST_F(TaskQueueTest, theOrderOnOneWorkerSurvivesAWaitThatMovedTasksAway)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    for (int round = 0; round < 50; ++round) {
        std::vector<int> order;
        Latch done;
        add(queue, [&] {
            // Moved, run and released: their addresses are used again for the tasks that follow, while their
            // announcements have yet to reach this worker.
            for (int i = 0; i < 5; ++i)
                add(queue, [] {})->waitTillFinished();
            for (int i = 0; i < 20; ++i)
                add(queue, [&order, i] { order.push_back(i); });
            add(queue, [&] { done.countDown(); });
        })->waitTillFinished();
        ASSERT_TRUE(done.wait());
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
        EXPECT_EQ(order.size(), 20U);
    }
}

TEST_F(TaskQueueTest, aWaitForATaskOfAnotherQueuePausesNobody)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    const std::shared_ptr<TaskQueue> other = TaskQueue::createQueue(eQOS_Normal, 1);
    BlockingTask inOther;
    other->addTask(inOther.task);
    ASSERT_TRUE(inOther.hasStarted());
    Latch waiting;
    const std::shared_ptr<Task> waits = add(queue, [&] {
        waiting.countDown();
        inOther.task->waitTillFinished();
    });
    ASSERT_TRUE(waiting.wait());
    const std::shared_ptr<Task> pending = add(queue, [] {});
    EXPECT_EQ(pending->getTaskState(), Task::ePending); // nobody else serves this queue
    inOther.release();
    pending->waitTillFinished();
    EXPECT_EQ(waits->getTaskState(), Task::eFinished);
}

TEST_F(TaskQueueTest, aQueueEndsWithItsLastOwner)
{
    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 2);
    const QPointer<TaskQueue> watch(queue.get());
    BlockingTask running;
    queue->addTask(running.task);
    ASSERT_TRUE(running.hasStarted());
    queue.reset();
    EXPECT_FALSE(watch.isNull()); // the running task holds it
    running.release();
    running.task->waitTillFinished();
    ASSERT_TRUE(serveUntil([&] { return running.task.use_count() == 1; }));
    running.task = std::make_shared<Task>([] {});
    EXPECT_TRUE(serveUntil([&] { return watch.isNull(); }));
}

TEST_F(TaskQueueTest, aTaskOfAQueueThatNobodyHoldsStillRuns)
{
    Latch done;
    add(TaskQueue::createQueue(eQOS_Normal, 1), [&] { done.countDown(); });
    EXPECT_TRUE(done.wait());
}

TEST_F(TaskQueueTest, aQueueThatIsDestroyedReleasesItsPendingTasksUnrun)
{
    application.reset(); // nothing runs now
    std::atomic<int> runs{0};
    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 2);
    const std::shared_ptr<TaskQueue> other = TaskQueue::createQueue(eQOS_Normal, 1);
    const std::shared_ptr<Task> pending = add(queue, [&] { ++runs; });
    other->addTask(pending); // it holds this queue now; the first one has it in its list still
    EXPECT_EQ(pending.use_count(), 3);
    const QPointer<TaskQueue> watch(queue.get());
    queue.reset();
    EXPECT_TRUE(watch.isNull());
    EXPECT_EQ(pending.use_count(), 2);
    EXPECT_EQ(runs, 0);
    application = makeApplication();
    pending->waitTillFinished();
    EXPECT_EQ(runs, 1);
}

TEST_F(TaskQueueTest, theGuiQueueHasOneWorkerInTheGuiThread)
{
    TaskQueue* const gui = TaskQueue::getGUIQueue();
    EXPECT_EQ(gui->getMaxConcurrency(), 1);
    EXPECT_EQ(gui->getQOS(), eQOS_GUI);
    EXPECT_EQ(gui->thread(), QThread::currentThread());
}

TEST_F(TaskQueueTest, aTaskThatIsAddedFromTheGuiThreadToTheGuiQueueHasFinishedOnReturn)
{
    QThread* thread = nullptr;
    const auto task = std::make_shared<Task>([&] { thread = QThread::currentThread(); });
    TaskQueue::getGUIQueue()->addTask(task);
    EXPECT_EQ(task->getTaskState(), Task::eFinished);
    EXPECT_EQ(thread, QThread::currentThread());
}

TEST_F(TaskQueueTest, aTaskThatIsAddedFromElsewhereToTheGuiQueueRunsInTheEventLoopOfTheGuiThread)
{
    std::vector<QThread*> threads;
    std::vector<std::shared_ptr<Task>> tasks;
    std::thread([&] {
        for (int i = 0; i < 3; ++i) {
            tasks.push_back(std::make_shared<Task>([&] { threads.push_back(QThread::currentThread()); }));
            TaskQueue::getGUIQueue()->addTask(tasks.back());
        }
    }).join();
    EXPECT_TRUE(threads.empty());
    ASSERT_TRUE(serveUntil([&] { return tasks.back()->getTaskState() == Task::eFinished; }));
    EXPECT_EQ(threads, std::vector<QThread*>(3, QThread::currentThread()));
}

TEST_F(TaskQueueTest, pendingGuiTasksStayInOrderWhileTheGuiThreadWaitsForOneOfThem)
{
    std::vector<int> order;
    std::vector<std::shared_ptr<Task>> tasks;
    for (int i = 0; i < 5; ++i)
        tasks.push_back(std::make_shared<Task>([&order, i] { order.push_back(i); }));
    std::thread([&] {
        for (const std::shared_ptr<Task>& task : tasks)
            TaskQueue::getGUIQueue()->addTask(task);
    }).join();
    std::thread helper([&] { tasks[2]->runTask(); }); // the GUI thread cannot, while it waits
    tasks[2]->waitTillFinished();
    helper.join();
    EXPECT_THAT(order, ElementsAre(2));
    for (int i : {0, 1, 3, 4})
        EXPECT_EQ(tasks[static_cast<std::size_t>(i)]->getTaskState(), Task::ePending);
    ASSERT_TRUE(serveUntil([&] { return tasks[4]->getTaskState() == Task::eFinished; }));
    EXPECT_THAT(order, ElementsAre(2, 0, 1, 3, 4));
}

TEST_F(TaskQueueTest, theGuiQueueTakesTasksWhileTheGuiThreadWaitsForOne)
{
    const auto waitedFor = std::make_shared<Task>([] {});
    const auto addedMeanwhile = std::make_shared<Task>([] {});
    std::thread([&] { TaskQueue::getGUIQueue()->addTask(waitedFor); }).join();
    std::thread helper([&] {
        TaskQueue::getGUIQueue()->addTask(addedMeanwhile);
        waitedFor->runTask();
    });
    waitedFor->waitTillFinished();
    helper.join();
    EXPECT_EQ(addedMeanwhile->getTaskState(), Task::ePending);
    EXPECT_TRUE(serveUntil([&] { return addedMeanwhile->getTaskState() == Task::eFinished; }));
}

TEST_F(TaskQueueTest, aFloodOfGuiTasksLetsTheGuiThreadServeItsOwnEventsInBetween)
{
    constexpr int flood = 20'000;
    std::atomic<int> runs{0};
    std::thread([&] {
        for (int i = 0; i < flood; ++i)
            TaskQueue::getGUIQueue()->addTask(std::make_shared<Task>([&] { ++runs; }));
    }).join();
    int runsAtOwnEvent = -1;
    QMetaObject::invokeMethod(
        application.get(), [&] { runsAtOwnEvent = runs; }, Qt::QueuedConnection);
    ASSERT_TRUE(serveUntil([&] { return runs == flood; }));
    EXPECT_GE(runsAtOwnEvent, 0);
    EXPECT_LT(runsAtOwnEvent, flood / 20);
}

TEST_F(TaskQueueTest, aGuiTaskThatServesEventsLetsTheOthersRunInside)
{
    std::vector<int> order;
    std::thread([&] {
        TaskQueue* const gui = TaskQueue::getGUIQueue();
        gui->addTask(std::make_shared<Task>([&] {
            order.push_back(1);
            EXPECT_TRUE(serveUntil([&] { return order.size() == 3; }));
            order.push_back(4);
        }));
        gui->addTask(std::make_shared<Task>([&] { order.push_back(2); }));
        gui->addTask(std::make_shared<Task>([&] { order.push_back(3); }));
    }).join();
    ASSERT_TRUE(serveUntil([&] { return order.size() == 4; }));
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
}
