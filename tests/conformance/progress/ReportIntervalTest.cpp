/// \file
/// What `Progress::setReportInterval` promises. An interval of an hour does not pass in a test, so the reports can be
/// counted; one of a millisecond does.

#include <atomic>
#include <chrono>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>

#include "RecordingReceiver.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using namespace std::chrono_literals;

namespace {

constexpr auto anHour = std::chrono::milliseconds(1h);

class ReportInterval : public TaskFixture
{
protected:
    void stepTimes(int count)
    {
        for (int i = 0; i < count; ++i)
            ++*progress;
    }

    // In the thread of the receiver. Returns the fraction then.
    float stepUntilOneIsLeftOut()
    {
        for (std::size_t before = messageCount();; before = messageCount()) {
            ++*progress;
            if (messageCount() == before)
                return progress->getFractionCompleted();
        }
    }

    std::size_t messageCount() const { return receiver->messages().size(); }
    float lastFraction() const { return receiver->messages().back().fraction; }

    std::shared_ptr<RecordingReceiver> receiver = std::make_shared<RecordingReceiver>();
    std::shared_ptr<Progress> progress = std::make_shared<Progress>(1000, L"Smoothing");
};

// Nothing may have been told yet: the clock of the intervals ticks 64 times a second on Windows.
template <typename Receiver, typename Holds>
bool doesLast(const Receiver& receiver, Holds holds)
{
    const std::vector<ProgressMessage> messages = receiver.messages();
    return !messages.empty() && holds(messages.back());
}

int completionsOf(const std::vector<ProgressMessage>& messages)
{
    int count = 0;
    for (const ProgressMessage& message : messages)
        count += message.isCompletion ? 1 : 0;
    return count;
}

struct ThrowingOnce final : ProgressReportingProtocol
{
    void progressUpdated(Progress*, float, const std::wstring&) override
    {
        if (++calls == 1)
            throw std::runtime_error("no");
    }
    void progressCompleted(Progress*, const std::wstring&) override { ++calls; }
    int calls = 0;
};

// Takes a step of what reports to it, as long as there are any.
struct Stepping final : ProgressReportingProtocol
{
    void progressUpdated(Progress* progress, float, const std::wstring&) override
    {
        ++updates;
        ++*progress;
    }
    void progressCompleted(Progress*, const std::wstring&) override { ++completions; }
    int updates = 0;
    int completions = 0;
};

// Completes what reports to it, and throws.
struct CompletingAndThrowing final : ProgressReportingProtocol
{
    void progressUpdated(Progress* progress, float, const std::wstring&) override
    {
        progress->setCompletedUnitCount(progress->getTotalUnitCount());
        throw std::runtime_error("no");
    }
    void progressCompleted(Progress*, const std::wstring&) override { ++completions; }
    int completions = 0;
};

// Takes one step of it, and throws.
struct SteppingAndThrowing final : ProgressReportingProtocol
{
    void progressUpdated(Progress* progress, float, const std::wstring&) override
    {
        if (++calls > 1)
            return;
        ++*progress;
        throw std::runtime_error("no");
    }
    int calls = 0;
};

// Completes what it watches, as another thread may do between the calls of watchers and delegate.
struct CompletingOnce final : ProgressReportingProtocol
{
    void progressUpdated(Progress*, float, const std::wstring&) override
    {
        if (const std::shared_ptr<Progress> watched = std::exchange(progress, nullptr))
            watched->setCompletedUnitCount(watched->getTotalUnitCount());
    }
    std::shared_ptr<Progress> progress;
};

struct Releasing final : ProgressReportingProtocol
{
    void progressUpdated(Progress*, float, const std::wstring&) override { progress.reset(); }
    std::shared_ptr<Progress> progress;
};

} // namespace

TEST_F(ReportInterval, withoutOneEveryStepIsReported)
{
    progress->setDelegate(receiver, false);
    stepTimes(100);
    EXPECT_EQ(messageCount(), 100U);
}

TEST_F(ReportInterval, theFirstStepIsReportedAndTheOthersOfTheIntervalAreCounted)
{
    progress->setDelegate(receiver, false);
    progress->setReportInterval(anHour);
    stepTimes(100);
    progress->setCompletedUnitCount(200);
    EXPECT_EQ(*progress += 5, 205);
    progress->incrementCompletedUnitCount(-3);
    ASSERT_EQ(messageCount(), 1U);
    EXPECT_EQ(lastFraction(), 0.001F);
    EXPECT_EQ(progress->getCompletedUnitCount(), 202);
    EXPECT_EQ(progress->getState()->getFraction(), 0.202);
}

TEST_F(ReportInterval, completionIsReportedAtOnceAndOnce)
{
    progress->setDelegate(receiver, false);
    progress->setReportInterval(anHour);
    stepTimes(1100);
    const std::vector<ProgressMessage> messages = receiver->messages();
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_FALSE(messages[0].isCompletion);
    EXPECT_TRUE(messages[1].isCompletion);
    EXPECT_EQ(messages[1].sender, progress.get());
    EXPECT_EQ(messages[1].description, L"Smoothing");
}

TEST_F(ReportInterval, workOfUnknownTotalIsReportedAtTheIntervalToo)
{
    progress->setTotalUnitCount(0);
    progress->setDelegate(receiver, false);
    progress->setReportInterval(anHour);
    stepTimes(100);
    EXPECT_EQ(messageCount(), 1U);
}

TEST_F(ReportInterval, afterItAStepIsReportedAgain)
{
    progress->setTotalUnitCount(std::numeric_limits<int>::max());
    progress->setDelegate(receiver, false);
    progress->setReportInterval(1ms);
    EXPECT_TRUE(serveUntil([&] {
        ++*progress;
        return messageCount() >= 5;
    }));
}

TEST_F(ReportInterval, reportsAreAtLeastSoFarApart)
{
    struct Clocked final : ProgressReportingProtocol
    {
        void progressUpdated(Progress*, float, const std::wstring&) override
        {
            times.push_back(std::chrono::steady_clock::now());
        }
        std::vector<std::chrono::steady_clock::time_point> times;
    };
    const auto clocked = std::make_shared<Clocked>();
    progress->setTotalUnitCount(std::numeric_limits<int>::max());
    progress->setDelegate(clocked, false);
    progress->setReportInterval(5ms);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(serveUntil([&] {
        ++*progress;
        return clocked->times.size() == 20;
    }));
    EXPECT_GE(clocked->times.back() - start, 19 * 5ms);
}

TEST_F(ReportInterval, aReceiverOfTheGuiThreadIsToldTheNewestCountWhileTheStepsPause)
{
    progress->setDelegate(receiver, true);
    progress->setReportInterval(1ms);
    ASSERT_TRUE(runAside([&] { stepTimes(500); }));
    EXPECT_TRUE(serveUntil([&] { return messageCount() > 0 && lastFraction() == 0.5F; }));
    for (const ProgressMessage& message : receiver->messages()) {
        EXPECT_EQ(message.thread, QThread::currentThread());
        EXPECT_EQ(message.sender, progress.get());
    }
    ASSERT_TRUE(runAside([&] { stepTimes(100); })) << "and again";
    EXPECT_TRUE(serveUntil([&] { return lastFraction() == 0.6F; }));
}

TEST_F(ReportInterval, aGuiThreadThatWasBusyIsToldTheCountsInTheirOrder)
{
    constexpr auto interval = 1ms;
    progress->setDelegate(receiver, true);
    progress->setReportInterval(interval);
    std::thread([&] {
        for (int i = 0; i < 5; ++i) {
            stepTimes(100); // one of them is reported, the last ones are not
            const auto end = std::chrono::steady_clock::now() + 20 * interval;
            while (std::chrono::steady_clock::now() < end)
                std::this_thread::yield();
        }
    }).join();
    ASSERT_TRUE(serveUntil([&] { return messageCount() > 0 && lastFraction() == 0.5F; }));
    ASSERT_TRUE(runAside([] {})); // whatever is behind it
    float last = 0;
    for (const ProgressMessage& message : receiver->messages()) {
        EXPECT_GE(message.fraction, last);
        last = message.fraction;
    }
}

TEST_F(ReportInterval, aReceiverThatIsAnObjectIsToldAsWellInTheGuiThreadItself)
{
    RecordingObject object;
    progress->setDelegate(&object);
    progress->setReportInterval(1ms);
    stepTimes(500);
    EXPECT_TRUE(
        serveUntil([&] { return doesLast(object, [](const auto& last) { return last.fraction == 0.5F; }); }));
}

TEST_F(ReportInterval, aProgressThatNoPointerOwnsIsReportedToo)
{
    Progress own(100);
    own.setDelegate(receiver, true);
    own.setReportInterval(1ms);
    ++own;
    ++own;
    EXPECT_TRUE(serveUntil([&] { return lastFraction() == 0.02F; }));
}

TEST_F(ReportInterval, aWatcherIsToldTheNewestCountWithoutASender)
{
    progress->getState()->addWatcher(receiver);
    progress->setReportInterval(1ms);
    ASSERT_TRUE(runAside([&] { stepTimes(500); }));
    ASSERT_TRUE(serveUntil([&] { return lastFraction() == 0.5F; }));
    const ProgressMessage last = receiver->messages().back();
    EXPECT_TRUE(last.sender == progress.get() || last.thread == QThread::currentThread());
    EXPECT_EQ(last.sender == nullptr, last.thread == QThread::currentThread());
}

TEST_F(ReportInterval, watchersGetTheirLateReportBesideADelegateOfTheSteppingThread)
{
    const auto watcher = std::make_shared<RecordingReceiver>();
    progress->getState()->addWatcher(watcher);
    progress->setDelegate(receiver, false);
    progress->setReportInterval(20ms);
    stepTimes(2);
    ASSERT_EQ(messageCount(), 1U);
    EXPECT_TRUE(serveUntil(
        [&] { return doesLast(*watcher, [](const auto& last) { return last.fraction == 0.002F; }); }));
    EXPECT_EQ(messageCount(), 1U) << "the delegate is not called from elsewhere";
    progress.reset();
    EXPECT_EQ(lastFraction(), 0.002F);
}

TEST_F(ReportInterval, aReceiverOfTheSteppingThreadIsToldTheNewestCountAtTheEnd)
{
    progress->setDelegate(receiver, false);
    progress->setReportInterval(anHour);
    stepTimes(500);
    progress.reset();
    ASSERT_EQ(messageCount(), 2U);
    EXPECT_EQ(lastFraction(), 0.5F);
}

TEST_F(ReportInterval, anEndWithNothingLeftOutIsNotReported)
{
    progress->setDelegate(receiver, false);
    progress->setReportInterval(anHour);
    stepTimes(1000);
    progress.reset();
    EXPECT_EQ(messageCount(), 2U);
}

TEST_F(ReportInterval, aReceiverThatThrowsAtTheEndEndsNothing)
{
    const auto throwing = std::make_shared<ThrowingOnce>();
    progress->setReportInterval(anHour);
    stepTimes(1); // reported to nobody
    progress->setDelegate(throwing, false);
    stepTimes(1);
    progress.reset();
    EXPECT_EQ(throwing->calls, 1);
}

TEST_F(ReportInterval, aFailureIsToldAfterTheNewestCount)
{
    progress->setDelegate(receiver, false);
    progress->setReportInterval(anHour);
    stepTimes(500);
    progress->fail(L"no memory");
    ASSERT_EQ(messageCount(), 2U);
    EXPECT_EQ(lastFraction(), 0.5F);
    EXPECT_EQ(progress->getState()->getStatus(), EProgressStatus::Failed);
}

TEST_F(ReportInterval, aCancellationTellsWatchersTheNewestCount)
{
    progress->getState()->addWatcher(receiver);
    progress->setReportInterval(anHour);
    stepTimes(500);
    progress->cancel();
    EXPECT_EQ(lastFraction(), 0.5F);
}

TEST_F(ReportInterval, zeroAndLessSwitchItOffAndTellTheNewestCount)
{
    for (const std::chrono::milliseconds off :
         {0ms, -1ms, std::chrono::milliseconds(std::numeric_limits<std::int64_t>::min())}) {
        const auto own = std::make_shared<RecordingReceiver>();
        Progress steps(100);
        steps.setDelegate(own, false);
        steps.setReportInterval(anHour);
        steps += 1;
        steps += 1;
        ASSERT_EQ(own->messages().size(), 1U);
        steps.setReportInterval(off);
        ASSERT_EQ(own->messages().size(), 2U);
        EXPECT_EQ(own->messages().back().fraction, 0.02F);
        steps += 1;
        steps += 1;
        EXPECT_EQ(own->messages().size(), 4U);
    }
}

TEST_F(ReportInterval, theLongestOneIsAnIntervalToo)
{
    progress->setDelegate(receiver, true);
    progress->setReportInterval(std::chrono::milliseconds::max());
    stepTimes(100);
    EXPECT_EQ(messageCount(), 1U);
}

TEST_F(ReportInterval, countsOfATreeAreTheSameAsWithoutIt)
{
    for (const bool keepsRemainders : {false, true}) {
        std::vector<std::vector<int>> counts(2);
        for (const bool hasInterval : {false, true}) {
            const auto root = std::make_shared<Progress>(0);
            const auto middle = std::make_shared<Progress>(0);
            const auto leaf = std::make_shared<Progress>(100);
            root->setKeepsRemainders(keepsRemainders);
            root->addChildWithPendingCount(middle, 100);
            middle->addChildWithPendingCount(leaf, 100);
            for (const auto& level : {root, middle, leaf})
                level->setReportInterval(hasInterval ? anHour : 0ms);
            for (int i = 0; i < 100; ++i) {
                ++*leaf;
                counts[hasInterval ? 1 : 0].push_back(root->getCompletedUnitCount());
            }
            EXPECT_EQ(middle->getCompletedUnitCount(), 31);
            EXPECT_EQ(root->getState()->getFraction(), 1);
        }
        EXPECT_EQ(counts[0], counts[1]);
    }
}

TEST_F(ReportInterval, aTreeReportsAtTheIntervalOfItsRoot)
{
    const auto part = std::make_shared<Progress>(64);
    const auto root = std::make_shared<Progress>(0);
    root->addChildWithPendingCount(part, 64);
    root->setDelegate(receiver, false);
    root->setReportInterval(anHour);
    for (int i = 0; i < 63; ++i)
        ++*part;
    EXPECT_EQ(messageCount(), 1U);
    ++*part;
    EXPECT_EQ(messageCount(), 2U);
    EXPECT_EQ(completionsOf(receiver->messages()), 1);
}

TEST_F(ReportInterval, thatOfAPartLeavesNothingOutOfWhatItsParentReports)
{
    const auto part = std::make_shared<Progress>(64);
    const auto root = std::make_shared<Progress>(0);
    const auto watcher = std::make_shared<RecordingReceiver>();
    root->addChildWithPendingCount(part, 64);
    root->setDelegate(receiver, false);
    part->getState()->addWatcher(watcher);
    part->setReportInterval(anHour);
    for (int i = 0; i < 64; ++i)
        ++*part;
    EXPECT_EQ(messageCount(), 64U);
    EXPECT_EQ(watcher->messages().size(), 2U);
    part->setDelegate(receiver, false); // in place of the parent
    ++*part;
    EXPECT_EQ(messageCount(), 64U) << "the interval holds for that one";
}

TEST_F(ReportInterval, anExceptionOfAReceiverPassesAndTheNextReportIsMade)
{
    const auto throwing = std::make_shared<ThrowingOnce>();
    progress->setDelegate(throwing, false);
    progress->setReportInterval(anHour);
    EXPECT_THROW(++*progress, std::runtime_error);
    EXPECT_EQ(progress->getCompletedUnitCount(), 1);
    progress->setCompletedUnitCount(1000);
    EXPECT_EQ(throwing->calls, 2);
}

TEST_F(ReportInterval, aCompletionDuringAReportThatThrowsIsReported)
{
    const auto throwing = std::make_shared<CompletingAndThrowing>();
    progress->setDelegate(throwing, false);
    progress->setReportInterval(anHour);
    EXPECT_THROW(++*progress, std::runtime_error);
    EXPECT_EQ(throwing->completions, 1);
}

TEST_F(ReportInterval, whatWasLeftOutDuringAReportThatThrowsIsToldWhileTheStepsPause)
{
    const auto throwing = std::make_shared<SteppingAndThrowing>();
    const auto watcher = std::make_shared<RecordingReceiver>();
    progress->setDelegate(throwing, false);
    progress->getState()->addWatcher(watcher);
    progress->setReportInterval(1ms);
    EXPECT_THROW(++*progress, std::runtime_error);
    EXPECT_TRUE(serveUntil([&] { return watcher->messages().back().fraction == 0.002F; }));
}

TEST_F(ReportInterval, aCompletionBetweenTheReceiversOfAReportIsToldOnceAndLast)
{
    for (const bool isAsynchronous : {false, true}) {
        const auto own = std::make_shared<RecordingReceiver>();
        const auto completing = std::make_shared<CompletingOnce>();
        const auto watcher = std::make_shared<RecordingReceiver>();
        completing->progress = std::make_shared<Progress>(1000);
        const std::shared_ptr<Progress> completed = completing->progress;
        completed->setDelegate(own, isAsynchronous);
        completed->getState()->addWatcher(completing);
        completed->getState()->addWatcher(watcher);
        completed->setReportInterval(anHour);
        ++*completed;
        for (const auto& told : {own, watcher}) {
            ASSERT_EQ(told->messages().size(), 2U);
            EXPECT_FALSE(told->messages()[0].isCompletion);
            EXPECT_EQ(told->messages()[0].fraction, 0.001F);
            EXPECT_TRUE(told->messages()[1].isCompletion);
        }
    }
}

TEST_F(ReportInterval, aCompletionDuringALateReportIsToldOnceAndLast)
{
    const auto completing = std::make_shared<CompletingOnce>();
    progress->setDelegate(receiver, true);
    progress->setReportInterval(1ms);
    ASSERT_TRUE(runAside([&] { stepTimes(1); }));
    ASSERT_TRUE(serveUntil([&] { return messageCount() == 1; }));
    progress->getState()->addWatcher(completing);
    progress->setReportInterval(20ms);
    const float before = stepUntilOneIsLeftOut();
    completing->progress = progress;
    ASSERT_TRUE(serveUntil([&] { return completing->progress == nullptr; }));
    EXPECT_EQ(completionsOf(receiver->messages()), 1);
    EXPECT_TRUE(receiver->messages().back().isCompletion);
    const std::vector<ProgressMessage> messages = receiver->messages();
    EXPECT_EQ(messages[messages.size() - 2].fraction, before);
}

TEST_F(ReportInterval, aWatcherThatComesAfterStepsWereLeftOutIsToldTheNewestCountToo)
{
    progress->setDelegate(receiver, false);
    progress->setReportInterval(50ms);
    stepTimes(2); // nobody would receive a late report
    const auto watcher = std::make_shared<RecordingReceiver>();
    progress->getState()->addWatcher(watcher);
    stepTimes(1);
    EXPECT_TRUE(serveUntil(
        [&] { return !watcher->messages().empty() && watcher->messages().back().fraction == 0.003F; }));
}

TEST_F(ReportInterval, lateReportsToWatchersPutNoReportToTheDelegateOff)
{
    const auto watcher = std::make_shared<RecordingReceiver>();
    progress->getState()->addWatcher(watcher);
    progress->setDelegate(receiver, false);
    progress->setReportInterval(50ms);
    const float leftOut = stepUntilOneIsLeftOut();
    const std::size_t before = messageCount();
    ASSERT_TRUE(serveUntil([&] { return watcher->messages().back().fraction == leftOut; }));
    stepTimes(1);
    EXPECT_EQ(messageCount(), before + 1) << "its last report was made an interval ago";
    EXPECT_FLOAT_EQ(lastFraction(), leftOut + 0.001F);
    EXPECT_TRUE(serveUntil([&] { return watcher->messages().back().fraction == lastFraction(); }));
}

TEST_F(ReportInterval, stepsOfTheWholeCountEachWhileAPartIsReported)
{
    constexpr int steps = 100'000;
    const auto whole = std::make_shared<Progress>(4 * steps);
    const auto part = std::make_shared<Progress>(steps);
    whole->addChildWithPendingCount(part, 2 * steps);
    whole->setKeepsRemainders(true);
    whole->setReportInterval(anHour);
    std::thread own([&] {
        for (int i = 0; i < steps; ++i)
            ++*whole;
    });
    for (int i = 0; i < steps; ++i)
        ++*part;
    own.join();
    EXPECT_EQ(whole->getCompletedUnitCount(), 3 * steps);
    EXPECT_EQ(whole->getState()->getFraction(), 0.75);
}

TEST_F(ReportInterval, aReceiverMayStepWhatReportsToIt)
{
    const auto stepping = std::make_shared<Stepping>();
    progress->setDelegate(stepping, false);
    progress->setReportInterval(anHour);
    progress->setCompletedUnitCount(999);
    EXPECT_EQ(stepping->updates, 1);
    EXPECT_EQ(stepping->completions, 1) << "by its step";
}

TEST_F(ReportInterval, aReceiverMayReleaseWhatReportsToIt)
{
    const auto releasing = std::make_shared<Releasing>();
    releasing->progress = progress;
    const std::weak_ptr<Progress> weak = progress;
    progress->setDelegate(releasing, false);
    progress->setReportInterval(anHour);
    Progress& last = *progress;
    progress.reset();
    EXPECT_EQ(++last, 1);
    EXPECT_TRUE(weak.expired());
}

TEST_F(ReportInterval, whenTheApplicationGoesTheNewestCountIsToldByTheEnd)
{
    progress->setDelegate(receiver, true);
    progress->setReportInterval(anHour);
    ASSERT_TRUE(runAside([&] { stepTimes(500); })); // asks for a late report, which waits for an hour
    ASSERT_TRUE(serveUntil([&] { return messageCount() == 1; }));
    QCoreApplication::processEvents();
    application.reset();
    application = makeApplication();
    ASSERT_TRUE(runAside([&] { progress.reset(); }));
    EXPECT_TRUE(serveUntil([&] { return messageCount() == 2; }));
    EXPECT_EQ(lastFraction(), 0.5F);
}

TEST_F(ReportInterval, incrementsOfSeveralThreadsCountEachAndAreCompletedOnce)
{
    constexpr int threadCount = 4;
    constexpr int steps = 20'000;
    for (const std::chrono::milliseconds interval : {anHour, 1ms}) {
        const auto own = std::make_shared<RecordingReceiver>();
        const auto watcher = std::make_shared<RecordingReceiver>();
        Progress counted(threadCount * steps);
        counted.setDelegate(own, false);
        counted.getState()->addWatcher(watcher);
        counted.setReportInterval(interval);
        std::vector<std::thread> threads;
        for (int i = 0; i < threadCount; ++i)
            threads.emplace_back([&] {
                for (int step = 0; step < steps; ++step)
                    ++counted;
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(counted.getCompletedUnitCount(), threadCount * steps);
        EXPECT_EQ(completionsOf(own->messages()), 1);
        EXPECT_TRUE(own->messages().back().isCompletion);
        EXPECT_EQ(completionsOf(watcher->messages()), 1);
        EXPECT_LT(own->messages().size(), 10'000U);
    }
}

TEST_F(ReportInterval, itMayChangeWhileThreadsStep)
{
    constexpr int steps = 100'000;
    progress->setTotalUnitCount(steps);
    progress->setDelegate(receiver, true);
    std::atomic<bool> isDone{false};
    progress->setReportInterval(1ms);
    std::thread changing([&] {
        for (int i = 0; !isDone; ++i)
            progress->setReportInterval(i % 2 == 0 ? anHour : 1ms);
    });
    const bool hasReturned = runAside([&] { stepTimes(steps); });
    isDone = true;
    changing.join();
    ASSERT_TRUE(hasReturned);
    EXPECT_EQ(progress->getCompletedUnitCount(), steps);
    EXPECT_TRUE(
        serveUntil([&] { return doesLast(*receiver, [](const auto& last) { return last.isCompletion; }); }));
}
