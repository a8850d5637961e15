// Workers live in event loops, and so do the host's own objects there: slots, timers, deferred deletions. What a
// queue promises holds beside all of them. Each claim has its control, made of queued calls between plain threads.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <QEventLoop>
#include <QObject>
#include <QThread>
#include <QTimer>

#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/HostObjects.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using std::chrono::microseconds;
using std::chrono::milliseconds;

namespace {

using Counter = std::shared_ptr<std::atomic<int>>;

Counter makeCounter(int value = 0)
{
    return std::make_shared<std::atomic<int>>(value);
}

/// Waits until \p latch is down, or for as long as no passing test takes.
bool wait(const std::shared_ptr<Latch>& latch)
{
    return latch->wait(hangLimit);
}

/// A queue with as many workers as the parameter says, and an object of the host in the thread of each.
class HostSlot : public TaskFixture, public ::testing::WithParamInterface<int>
{
protected:
    void SetUp() override { ASSERT_EQ(threads.count(), workers); }

    /// Expects a task to run, whatever holds threads up.
    void expectTaskToRun()
    {
        const auto done = std::make_shared<Latch>();
        addTask(queue, [done] { done->countDown(); });
        EXPECT_TRUE(wait(done));
    }

    static constexpr int rounds = 50;

    const int workers = GetParam();
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, workers);
    const HostObjects threads{queue};
};

/// The same with two workers at least.
class HostSlotBesideOthers : public HostSlot
{
};

/// A queue with one worker.
class HostEvent : public TaskFixture
{
protected:
    void SetUp() override { ASSERT_EQ(threads.count(), 1); }

    /// Keeps the worker inside a task until the latch is down.
    std::shared_ptr<Latch> holdWorker() const
    {
        auto mayEnd = std::make_shared<Latch>();
        addTask(queue, [mayEnd] { mayEnd->wait(); });
        return mayEnd;
    }

    void addSlowTasks(int count) const
    {
        for (int i = 0; i < count; ++i)
            addTask(queue, [runs = runs] {
                spinFor(milliseconds(2));
                ++*runs;
            });
    }

    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    const HostObjects threads{queue};
    const Counter runs = makeCounter();
    const Counter runsAtEvent = makeCounter(-1);
    const std::shared_ptr<Latch> eventCame = std::make_shared<Latch>();

    std::function<void()> event() const
    {
        return [runs = runs, runsAtEvent = runsAtEvent, eventCame = eventCame] {
            *runsAtEvent = runs->load();
            eventCame->countDown();
        };
    }
};

/// Whose destructor waits for a task.
class WaitsWhenDestroyed : public QObject
{
public:
    WaitsWhenDestroyed(std::shared_ptr<TaskQueue> queue, std::shared_ptr<Latch> gone)
        : m_queue(std::move(queue)), m_gone(std::move(gone))
    {
    }
    ~WaitsWhenDestroyed() override
    {
        addTask(m_queue, [] {})->waitTillFinished();
        m_gone->countDown();
    }
    WaitsWhenDestroyed(const WaitsWhenDestroyed&) = delete;
    WaitsWhenDestroyed& operator=(const WaitsWhenDestroyed&) = delete;

private:
    std::shared_ptr<TaskQueue> m_queue;
    std::shared_ptr<Latch> m_gone;
};

/// Threads with event loops and nothing else.
class PlainThreads
{
public:
    explicit PlainThreads(int count)
    {
        for (int i = 0; i < count; ++i) {
            m_threads.push_back(std::make_unique<QThread>());
            m_objects.push_back(std::make_unique<QObject>());
            m_objects.back()->moveToThread(m_threads.back().get());
            m_threads.back()->start();
        }
    }
    ~PlainThreads()
    {
        for (const auto& thread : m_threads) {
            thread->quit();
            thread->wait();
        }
    }
    PlainThreads(const PlainThreads&) = delete;
    PlainThreads& operator=(const PlainThreads&) = delete;

    void call(int thread, const std::function<void()>& slot) const
    {
        QMetaObject::invokeMethod(m_objects[static_cast<std::size_t>(thread)].get(), slot,
                                  Qt::QueuedConnection);
    }

private:
    std::vector<std::unique_ptr<QThread>> m_threads;
    std::vector<std::unique_ptr<QObject>> m_objects;
};

std::string workerCount(const ::testing::TestParamInfo<int>& info)
{
    return std::to_string(info.param) + (info.param == 1 ? "Worker" : "Workers");
}

} // namespace

TEST_P(HostSlot, mayWaitForATaskOfItsQueue)
{
    for (int round = 0; round < rounds; ++round) {
        const auto returned = std::make_shared<Latch>();
        threads.call(round % workers, [queue = queue, returned] {
            addTask(queue, [] {})->waitTillFinished();
            returned->countDown();
        });
        ASSERT_TRUE(wait(returned)) << "round " << round;
    }
    expectTaskToRun();
}

TEST_P(HostSlot, mayWaitInEveryWorkersThreadAtOnce)
{
    for (int round = 0; round < rounds; ++round) {
        const auto returned = std::make_shared<Latch>(workers);
        for (int worker = 0; worker < workers; ++worker)
            threads.call(worker, [queue = queue, returned] {
                addTask(queue, [] {})->waitTillFinished();
                returned->countDown();
            });
        ASSERT_TRUE(wait(returned)) << "round " << round;
    }
    expectTaskToRun();
}

TEST_P(HostSlot, thatWaitsDoesNotKeepTheTasksOfOthers)
{
    for (int round = 0; round < rounds; ++round) {
        const auto done = std::make_shared<Latch>(11);
        threads.call(round % workers, [queue = queue, done] {
            addTask(queue, [] {})->waitTillFinished();
            done->countDown();
        });
        for (int i = 0; i < 10; ++i) // perhaps before it waits, perhaps while it does
            addTask(queue, [done] { done->countDown(); });
        ASSERT_TRUE(wait(done)) << "round " << round;
    }
}

TEST_P(HostSlot, mayWaitInADestructorThatDeleteLaterRuns)
{
    for (int round = 0; round < rounds; ++round) {
        const auto gone = std::make_shared<Latch>();
        threads.call(round % workers, [queue = queue, gone] {
            // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): Qt owns what is deleted later
            (new WaitsWhenDestroyed(queue, gone))->deleteLater();
        });
        ASSERT_TRUE(wait(gone)) << "round " << round;
    }
    expectTaskToRun();
}

TEST_P(HostSlotBesideOthers, thatHoldsUpOneThreadHoldsUpNoTask)
{
    for (int round = 0; round < rounds; ++round) {
        HeldUp heldUp;
        threads.call(round % workers, heldUp.slot());
        ASSERT_TRUE(heldUp.hasBegun());
        expectTaskToRun();
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

TEST_P(HostSlotBesideOthers, thatHoldsUpAllThreadsButOneHoldsUpNoTask)
{
    for (int round = 0; round < rounds; ++round) {
        std::vector<HeldUp> heldUp(static_cast<std::size_t>(workers - 1));
        for (int i = 0; i < workers - 1; ++i)
            threads.call((round + i) % workers, heldUp[static_cast<std::size_t>(i)].slot());
        for (HeldUp& each : heldUp)
            ASSERT_TRUE(each.hasBegun());
        expectTaskToRun();
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

TEST_P(HostSlotBesideOthers, thatBeginsWhenATaskIsAddedHoldsUpNoTask)
{
    for (int round = 0; round < rounds; ++round) {
        std::vector<HeldUp> heldUp(static_cast<std::size_t>(workers - 1));
        for (int i = 0; i < workers - 1; ++i)
            threads.call((round + i) % workers, heldUp[static_cast<std::size_t>(i)].slot());
        expectTaskToRun(); // perhaps one of the others was notified before it came to the slot
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

TEST_P(HostSlotBesideOthers, thatHoldsUpThreadsLeavesTasksToATaskThatRunsAnEventLoop)
{
    const auto serving = std::make_shared<std::atomic<QThread*>>(nullptr);
    const auto loop = std::make_shared<std::atomic<QEventLoop*>>(nullptr);
    const auto returned = std::make_shared<Latch>();
    addTask(queue, [serving, loop, returned] {
        QEventLoop ownLoop;
        *loop = &ownLoop;
        *serving = QThread::currentThread();
        ownLoop.exec();
        returned->countDown();
    });
    EXPECT_TRUE(serveUntil([&] { return *serving != nullptr; }));
    std::vector<HeldUp> heldUp(static_cast<std::size_t>(workers));
    for (int i = 0; i < workers; ++i)
        if (threads.object(i)->thread() != *serving) {
            threads.call(i, heldUp[static_cast<std::size_t>(i)].slot());
            EXPECT_TRUE(heldUp[static_cast<std::size_t>(i)].hasBegun());
        }
    for (int round = 0; round < rounds && !HasFailure(); ++round)
        expectTaskToRun();
    loop->load()->quit();
    heldUp.clear();
    EXPECT_TRUE(wait(returned));
}

INSTANTIATE_TEST_SUITE_P(With, HostSlot, ::testing::Values(1, 2, 4), workerCount);
INSTANTIATE_TEST_SUITE_P(With, HostSlotBesideOthers, ::testing::Values(2, 4), workerCount);

TEST(PlainSlot, mayWaitForAnotherThread)
{
    const auto application = makeApplication();
    const PlainThreads threads(2);
    for (int round = 0; round < 50; ++round) {
        Latch returned;
        threads.call(round % 2, [&] {
            Latch done;
            threads.call(1 - round % 2, [&] { done.countDown(); });
            done.wait();
            returned.countDown();
        });
        ASSERT_TRUE(returned.wait());
    }
}

TEST(PlainSlot, thatHoldsUpOneThreadHoldsUpNoOther)
{
    const auto application = makeApplication();
    const PlainThreads threads(2);
    for (int round = 0; round < 50; ++round) {
        HeldUp heldUp;
        threads.call(round % 2, heldUp.slot());
        ASSERT_TRUE(heldUp.hasBegun());
        Latch done;
        threads.call(1 - round % 2, [&] { done.countDown(); });
        ASSERT_TRUE(done.wait());
    }
}

TEST_F(HostEvent, thatATaskPostsComesAfterThatTask)
{
    const std::shared_ptr<Latch> mayBegin = holdWorker();
    addTask(queue, [this] {
        threads.call(0, event());
        spinFor(milliseconds(2));
        ++*runs;
    });
    addSlowTasks(200);
    mayBegin->countDown();
    ASSERT_TRUE(wait(eventCame));
    EXPECT_EQ(*runsAtEvent, 1);
    addTask(queue, [] {})->waitTillFinished();
}

TEST_F(HostEvent, thatAnotherThreadPostsComesAfterTheRunningTask)
{
    const std::shared_ptr<Latch> mayBegin = holdWorker();
    addSlowTasks(10);
    const auto isRunning = std::make_shared<Latch>();
    const auto mayEnd = std::make_shared<Latch>();
    addTask(queue, [this, isRunning, mayEnd] {
        isRunning->countDown();
        mayEnd->wait();
        spinFor(milliseconds(2));
        ++*runs;
    });
    addSlowTasks(200);
    mayBegin->countDown();
    ASSERT_TRUE(wait(isRunning));
    threads.call(0, event());
    mayEnd->countDown();
    ASSERT_TRUE(wait(eventCame));
    EXPECT_EQ(*runsAtEvent, 11);
    addTask(queue, [] {})->waitTillFinished();
}

TEST_F(HostEvent, comesAfterTheRunningTaskThoughEachTaskAddsTheNext)
{
    constexpr int length = 100;
    const auto done = std::make_shared<Latch>();
    const auto addNext = std::make_shared<std::function<void()>>();
    *addNext = [this, done, next = std::weak_ptr<std::function<void()>>(addNext)] {
        addTask(queue, [this, done, link = next.lock()] {
            const bool isLast = *runs == length;
            if (!isLast)
                (*link)();
            if (*runs == 0)
                threads.call(0, event());
            spinFor(milliseconds(2));
            ++*runs;
            if (isLast)
                done->countDown();
        });
    };
    (*addNext)();
    ASSERT_TRUE(done->wait());
    ASSERT_TRUE(wait(eventCame));
    EXPECT_EQ(*runsAtEvent, 1);
}

TEST(PlainEvent, comesInItsTurnThoughEachQueuedCallPostsTheNext)
{
    const auto application = makeApplication();
    const PlainThreads threads(1);
    Latch done;
    int runs = 0;
    int runsAtEvent = -1;
    std::function<void()> call = [&] {
        if (runs < 100)
            threads.call(0, call);
        if (runs == 0)
            threads.call(0, [&] { runsAtEvent = runs; });
        if (++runs == 101)
            done.countDown();
    };
    threads.call(0, call);
    ASSERT_TRUE(done.wait());
    EXPECT_EQ(runsAtEvent, 2);
}

TEST_F(HostEvent, waitsNoLongerForShortTasksThanTheyMayBeRunInARow)
{
    constexpr int inARow = 50; // of 20 µs, in 1 ms
    for (int round = 0; round < 20; ++round) {
        const Counter runsOfRound = makeCounter();
        const Counter runsWhenPosted = makeCounter();
        const Counter runsWhenDelivered = makeCounter();
        const auto delivered = std::make_shared<Latch>();
        const std::shared_ptr<Latch> mayBegin = holdWorker();
        for (int i = 0; i < 1000; ++i)
            addTask(queue, [=, this_ = this] {
                spinFor(microseconds(20));
                if (++*runsOfRound == 300 + round) {
                    *runsWhenPosted = runsOfRound->load();
                    this_->threads.call(0, [=] {
                        *runsWhenDelivered = runsOfRound->load();
                        delivered->countDown();
                    });
                }
            });
        mayBegin->countDown();
        ASSERT_TRUE(wait(delivered));
        EXPECT_LE(*runsWhenDelivered - *runsWhenPosted, inARow);
        addTask(queue, [] {})->waitTillFinished();
    }
}

TEST_F(HostEvent, ofATimerComesInBetweenTasks)
{
    constexpr int tasks = 200;
    const Counter ticks = makeCounter();
    const auto ticking = std::make_shared<Latch>();
    QTimer* timer = nullptr;
    threads.call(0, [&timer, ticks, ticking] {
        timer = new QTimer;
        QObject::connect(timer, &QTimer::timeout, timer, [ticks] { ++*ticks; });
        timer->start(1);
        ticking->countDown();
    });
    ASSERT_TRUE(wait(ticking));
    const std::shared_ptr<Latch> mayBegin = holdWorker();
    addSlowTasks(tasks);
    const auto ticksAtEnd = makeCounter();
    const auto done = std::make_shared<Latch>();
    const int ticksBefore = *ticks;
    addTask(queue, [ticks, ticksAtEnd, done] {
        *ticksAtEnd = ticks->load();
        done->countDown();
    });
    mayBegin->countDown();
    ASSERT_TRUE(done->wait());
    EXPECT_GE(*ticksAtEnd - ticksBefore, tasks / 10);
    timer->deleteLater();
}

TEST_F(HostEvent, loopOfATaskIsHandedFurtherTasksInOrder)
{
    struct Order
    {
        std::vector<int> numbers;
        Latch done;
    };
    const auto order = std::make_shared<Order>();
    const auto record = [order](int number) { return [order, number] { order->numbers.push_back(number); }; };
    addTask(queue, [=, queue = queue] {
        QEventLoop loop;
        addTask(queue, record(1));
        addTask(queue, record(2));
        addTask(queue, [&loop, order] {
            order->numbers.push_back(3);
            loop.quit();
        });
        loop.exec();
        order->numbers.push_back(4);
        order->done.countDown();
    });
    ASSERT_TRUE(order->done.wait(hangLimit));
    EXPECT_EQ(order->numbers, (std::vector<int>{1, 2, 3, 4}));
}

TEST_F(HostEvent, loopOfATaskIsLeftBeforeTheNextTaskBegins)
{
    const auto order = std::make_shared<std::vector<int>>();
    const auto done = std::make_shared<Latch>();
    addTask(queue, [order, done, queue = queue] {
        QEventLoop loop;
        addTask(queue, [&loop, order] {
            order->push_back(1);
            loop.quit();
        });
        addTask(queue, [order, done] {
            order->push_back(3);
            done->countDown();
        });
        loop.exec();
        order->push_back(2);
    });
    ASSERT_TRUE(wait(done));
    EXPECT_EQ(*order, (std::vector<int>{1, 2, 3}));
}

TEST_F(HostEvent, loopOfATaskIsHandedTasksThatOthersAddMeanwhile)
{
    const auto looping = std::make_shared<Latch>();
    const auto returned = std::make_shared<Latch>();
    const auto loop = std::make_shared<std::atomic<QEventLoop*>>(nullptr);
    addTask(queue, [looping, returned, loop] {
        QEventLoop ownLoop;
        *loop = &ownLoop;
        looping->countDown();
        ownLoop.exec();
        returned->countDown();
    });
    ASSERT_TRUE(wait(looping));
    for (int i = 0; i < 100; ++i) {
        const auto done = std::make_shared<Latch>();
        addTask(queue, [done] { done->countDown(); });
        ASSERT_TRUE(wait(done)) << "task " << i;
    }
    addTask(queue, [loop] { loop->load()->quit(); });
    EXPECT_TRUE(wait(returned));
}

TEST_F(HostEvent, slotsAndTasksKeepTheOrderOfTheTasksAmongThemselves)
{
    const auto order = std::make_shared<std::vector<int>>();
    std::vector<int> expected;
    for (int i = 0; i < 1000; ++i) {
        expected.push_back(i);
        addTask(queue, [order, i] { order->push_back(i); });
        threads.call(0, [] {});
    }
    const auto done = std::make_shared<Latch>();
    addTask(queue, [done] { done->countDown(); });
    ASSERT_TRUE(wait(done));
    EXPECT_EQ(*order, expected);
}
