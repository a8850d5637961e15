#include <brn_mesh_kernel/tasks/TaskScheduler.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Brennic::Core;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace {

struct Platform
{
    using Mutex = std::mutex;
    using Count = std::atomic<int>;
    static bool isOpen() { return isDelivering; }
    static inline bool isDelivering = true;
};

// A job is a number above 0.
using Scheduler = TaskScheduler<Platform, int>;

/// A scheduler with workers that do what the test says; the numbers of those that are notified are kept.
class TaskSchedulerTest : public ::testing::Test
{
protected:
    TaskSchedulerTest() { Platform::isDelivering = true; }

    void startWorkers(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            scheduler.addWorker(workers[i]);
            post(scheduler.start(workers[i]));
        }
    }

    void post(Scheduler::Notifications notifications)
    {
        isWatchDue = isWatchDue || notifications.isWatchDue;
        notifications.post([this](Scheduler::Worker& worker) {
            notified.push_back(static_cast<std::size_t>(
                std::find_if(workers.begin(), workers.end(), [&](auto& each) { return &each == &worker; }) -
                workers.begin()));
        });
    }

    bool add(int job)
    {
        post(scheduler.add(job));
        return job == 0;
    }

    int arrive(std::size_t worker) { return take(worker, &Scheduler::arrive); }
    int takeNext(std::size_t worker) { return take(worker, &Scheduler::takeNext); }

    bool tick()
    {
        bool isWatched = false;
        post(scheduler.relieveLate(isWatched));
        return isWatched;
    }

    std::array<Scheduler::Worker, 4> workers;
    Scheduler scheduler;
    std::vector<std::size_t> notified;
    bool isWatchDue = false;

private:
    int take(std::size_t worker, Scheduler::Notifications (Scheduler::*operation)(Scheduler::Worker&, int&))
    {
        int job = 0;
        post((scheduler.*operation)(workers[worker], job));
        return job;
    }
};

} // namespace

TEST_F(TaskSchedulerTest, theWorkerThatBecameIdleLastIsNotifiedFirst)
{
    startWorkers(3);
    add(1);
    EXPECT_THAT(notified, ElementsAre(2));
}

TEST_F(TaskSchedulerTest, oneWorkerIsNotifiedAtATimeAndNotifiesTheNext)
{
    startWorkers(4);
    add(1);
    add(2);
    add(3);
    EXPECT_THAT(notified, ElementsAre(3));
    EXPECT_EQ(arrive(3), 1);
    EXPECT_THAT(notified, ElementsAre(3, 2));
    EXPECT_EQ(arrive(2), 2);
    EXPECT_THAT(notified, ElementsAre(3, 2, 1));
}

TEST_F(TaskSchedulerTest, aWorkerThatStartsFindsWhatIsPending)
{
    scheduler.addWorker(workers[0]);
    add(1);
    EXPECT_THAT(notified, IsEmpty());
    post(scheduler.start(workers[0]));
    EXPECT_THAT(notified, ElementsAre(0));
}

TEST_F(TaskSchedulerTest, aBusyWorkerIsNotifiedOnceSinceItsJobMayRunAnEventLoop)
{
    startWorkers(1);
    add(1);
    ASSERT_EQ(arrive(0), 1);
    add(2);
    add(3);
    EXPECT_THAT(notified, ElementsAre(0, 0));
    EXPECT_EQ(arrive(0), 2) << "inside the first";
    EXPECT_THAT(notified, ElementsAre(0, 0, 0));
    EXPECT_EQ(takeNext(0), 3);
    EXPECT_EQ(takeNext(0), 0);
}

TEST_F(TaskSchedulerTest, aWorkerThatLeavesComesBackForWhatIsPending)
{
    startWorkers(1);
    add(1);
    ASSERT_EQ(arrive(0), 1);
    add(2);
    notified.clear();
    EXPECT_EQ(arrive(0), 2);
    add(3);
    notified.clear();
    post(scheduler.leave(workers[0]));
    post(scheduler.leave(workers[0]));
    EXPECT_THAT(notified, IsEmpty()) << "its event is on its way";
    EXPECT_EQ(arrive(0), 0) << "events of the host that came while it was busy come first";
    EXPECT_THAT(notified, ElementsAre(0));
    EXPECT_EQ(arrive(0), 3);
}

TEST_F(TaskSchedulerTest, aNotifiedWorkerThatBeginsToWaitHandsOn)
{
    startWorkers(2);
    add(1);
    ASSERT_THAT(notified, ElementsAre(1));
    post(scheduler.beginWait(workers[1]));
    EXPECT_THAT(notified, ElementsAre(1, 0));
}

TEST_F(TaskSchedulerTest, aJobIsRefusedWhileAllWorkersWait)
{
    startWorkers(2);
    post(scheduler.beginWait(workers[0]));
    EXPECT_TRUE(add(1));
    EXPECT_FALSE(scheduler.isStarved());
    post(scheduler.beginWait(workers[1]));
    EXPECT_TRUE(scheduler.isStarved());
    EXPECT_FALSE(add(2));
    std::vector<int> jobs;
    scheduler.takeAll(false).forEach([&](int job) { jobs.push_back(job); });
    EXPECT_THAT(jobs, ElementsAre(1));
}

TEST_F(TaskSchedulerTest, nothingIsTakenAwayOnceAWorkerHasStoppedWaiting)
{
    startWorkers(1);
    add(1);
    post(scheduler.beginWait(workers[0]));
    post(scheduler.endWait(workers[0]));
    EXPECT_EQ(scheduler.takeAll(false).count(), 0U);
    EXPECT_EQ(arrive(0), 1);
}

TEST_F(TaskSchedulerTest, aWorkerThatStopsWaitingIsNotifiedOfWhatHasBeenKept)
{
    startWorkers(1);
    post(scheduler.beginWait(workers[0]));
    int job = 1;
    post(scheduler.add(job, true));
    EXPECT_THAT(notified, IsEmpty());
    post(scheduler.endWait(workers[0]));
    EXPECT_THAT(notified, ElementsAre(0));
    EXPECT_EQ(arrive(0), 1);
}

TEST_F(TaskSchedulerTest, aLateWorkerIsRelievedByAllThatAreIdle)
{
    startWorkers(3);
    add(1);
    EXPECT_TRUE(isWatchDue);
    EXPECT_TRUE(tick());
    EXPECT_THAT(notified, ElementsAre(2));
    EXPECT_TRUE(tick());
    EXPECT_THAT(notified, UnorderedElementsAre(2, 1, 0));
}

TEST_F(TaskSchedulerTest, aLateWorkerDoesNotHoldUpLaterJobs)
{
    startWorkers(2);
    add(1);
    tick();
    tick();
    ASSERT_EQ(arrive(0), 1);
    ASSERT_EQ(takeNext(0), 0);
    notified.clear();
    add(2);
    EXPECT_THAT(notified, ElementsAre(0));
    EXPECT_EQ(arrive(1), 2) << "the late one may still come first";
}

TEST_F(TaskSchedulerTest, theWatchEndsWhenItHasNotBeenNeededForSomeTime)
{
    startWorkers(2);
    add(1);
    ASSERT_EQ(arrive(1), 1);
    int ticks = 0;
    while (tick())
        ASSERT_LT(++ticks, 1000);
    EXPECT_GT(ticks, 10);
    isWatchDue = false;
    EXPECT_EQ(takeNext(1), 0);
    add(2);
    EXPECT_TRUE(isWatchDue);
}

TEST_F(TaskSchedulerTest, aLoneWorkerNeedsNoWatch)
{
    startWorkers(1);
    add(1);
    EXPECT_FALSE(isWatchDue);
}

TEST_F(TaskSchedulerTest, aWorkerWhoseEventIsDroppedIsNotifiedAgain)
{
    startWorkers(1);
    add(1);
    Platform::isDelivering = false;
    post(scheduler.loseEvent(workers[0]));
    EXPECT_THAT(notified, ElementsAre(0));
    Platform::isDelivering = true;
    post(scheduler.resume());
    EXPECT_THAT(notified, ElementsAre(0, 0));
}

TEST_F(TaskSchedulerTest, jobsCanBeTakenFromTheMiddle)
{
    startWorkers(1);
    for (int job = 1; job <= 3; ++job)
        add(job);
    int removed = 0;
    scheduler.remove([](int job) { return job == 2; }, removed);
    EXPECT_EQ(removed, 2);
    EXPECT_EQ(arrive(0), 1);
    EXPECT_EQ(takeNext(0), 3);
    EXPECT_EQ(takeNext(0), 0);
}

TEST_F(TaskSchedulerTest, jobsAreTakenUpToANumber)
{
    int first = 1;
    int second = 2;
    EXPECT_EQ(scheduler.append(first).first, 1U);
    EXPECT_EQ(scheduler.append(second).first, 2U);
    for (const int taken : {1, 0}) {
        int job = 0;
        const auto [next, pendingCount] = scheduler.take(job, 1);
        EXPECT_EQ(job, taken);
        EXPECT_EQ(next, 2U);
        EXPECT_EQ(pendingCount, 1U);
    }
    EXPECT_EQ(scheduler.newest(), 2U);
}
