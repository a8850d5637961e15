#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>

#include "support/Latch.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

struct Watcher final : ProgressReportingProtocol
{
    void progressUpdated(Progress* sender, float, const std::wstring&) override { senders.push_back(sender); }
    void progressCompleted(Progress* sender, const std::wstring&) override { senders.push_back(sender); }
    std::vector<Progress*> senders;
};

struct Receiver final : ProgressReportingProtocol
{
    void progressUpdated(Progress*, float, const std::wstring&) override { ++reports; }
    int reports = 0;
};

/// A whole of 100 units with a part that has a part.
class CancellationTest : public ::testing::Test
{
protected:
    CancellationTest()
    {
        whole->addChildWithPendingCount(part, 100);
        part->addChildWithPendingCount(leaf, 10);
    }

    EProgressStatus status() const { return whole->getState()->getStatus(); }

    const std::shared_ptr<Progress> whole = std::make_shared<Progress>(100, L"whole");
    const std::shared_ptr<Progress> part = std::make_shared<Progress>(10, L"part");
    const std::shared_ptr<Progress> leaf = std::make_shared<Progress>(4, L"leaf");
};

} // namespace

TEST_F(CancellationTest, reachesAllParts)
{
    whole->cancel();
    for (const auto& progress : {whole, part, leaf}) {
        EXPECT_TRUE(progress->isCancelled());
        EXPECT_TRUE(progress->getState()->isCancelled());
    }
}

TEST_F(CancellationTest, reachesNoParent)
{
    part->cancel();
    EXPECT_FALSE(whole->isCancelled());
    EXPECT_TRUE(leaf->isCancelled());
}

TEST_F(CancellationTest, reachesPartsThatAreAddedLater)
{
    const auto below = std::make_shared<Progress>(1);
    const auto later = std::make_shared<Progress>(1);
    later->addChildWithPendingCount(below, 1);
    whole->cancel();
    whole->addChildWithPendingCount(later, 5);
    EXPECT_TRUE(later->isCancelled());
    EXPECT_TRUE(below->isCancelled());
}

TEST_F(CancellationTest, leavesCountsAndReports)
{
    const auto receiver = std::make_shared<Receiver>();
    whole->setDelegate(receiver, false);
    ++*leaf;
    const int before = whole->getCompletedUnitCount();
    whole->cancel();
    EXPECT_EQ(whole->getCompletedUnitCount(), before);
    EXPECT_EQ(receiver->reports, 1);
    ++*leaf;
    EXPECT_GT(whole->getCompletedUnitCount(), before);
    EXPECT_EQ(receiver->reports, 2);
}

TEST_F(CancellationTest, callsEachHandlerOnceInTheCancellingThread)
{
    int calls = 0;
    std::thread::id thread;
    for (const auto& progress : {whole, leaf})
        progress->setCancelHandler([&] {
            ++calls;
            thread = std::this_thread::get_id();
            EXPECT_TRUE(leaf->isCancelled()); // all are cancelled before the first is told
        });
    std::thread canceller([&] { whole->getState()->cancel(); });
    const std::thread::id expected = canceller.get_id();
    canceller.join();
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(thread, expected);
    whole->cancel();
    leaf->cancel();
    EXPECT_EQ(calls, 2);
}

TEST_F(CancellationTest, callsAHandlerThatIsSetAfterwardsAtOnce)
{
    int calls = 0;
    whole->cancel();
    part->setCancelHandler([&] { ++calls; });
    EXPECT_EQ(calls, 1);
    part->cancel();
    EXPECT_EQ(calls, 1);
}

TEST_F(CancellationTest, callsTheLastHandlerThatWasSet)
{
    std::string called;
    part->setCancelHandler([&] { called += "first"; });
    part->setCancelHandler([&] { called += "second"; });
    part->cancel();
    EXPECT_EQ(called, "second");
    const auto other = std::make_shared<Progress>(1);
    other->setCancelHandler([&] { called += "third"; });
    other->setCancelHandler({});
    other->cancel();
    EXPECT_EQ(called, "second");
}

TEST_F(CancellationTest, goesOnWhenAHandlerThrows)
{
    int calls = 0;
    whole->setCancelHandler([] { throw std::runtime_error("first"); });
    part->setCancelHandler([] { throw std::runtime_error("second"); });
    leaf->setCancelHandler([&] { ++calls; });
    const auto watcher = std::make_shared<Watcher>();
    leaf->getState()->addWatcher(watcher);
    try {
        whole->cancel();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "first");
    }
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(watcher->senders.size(), 1U);
}

TEST_F(CancellationTest, holdsNoLockWhileAHandlerRuns)
{
    const auto late = std::make_shared<Progress>(1);
    whole->setCancelHandler([&] {
        std::thread([&] { // would wait for ever for a lock that the cancelling thread holds
            part->setDescription(L"cancelled");
            whole->addChildWithPendingCount(late, 1);
            leaf->setCancelHandler({});
            EXPECT_EQ(status(), EProgressStatus::Cancelled);
        })
            .join();
    });
    whole->cancel();
    EXPECT_TRUE(late->isCancelled());
}

TEST_F(CancellationTest, isToldToWatchersWithoutASender)
{
    const auto watcher = std::make_shared<Watcher>();
    leaf->getState()->addWatcher(watcher);
    whole->cancel();
    whole->cancel();
    EXPECT_EQ(watcher->senders, std::vector<Progress*>{nullptr});
}

TEST(CancelledProgressTest, isCancelledThroughItsStateAfterItHasGone)
{
    auto progress = std::make_unique<Progress>(10);
    const auto kept = std::make_shared<int>(0);
    progress->setCancelHandler([kept] { ++*kept; });
    const std::shared_ptr<ProgressState> state = progress->getState();
    progress.reset();
    EXPECT_EQ(kept.use_count(), 1); // the handler has gone with the work
    state->cancel();
    EXPECT_TRUE(state->isCancelled());
    EXPECT_EQ(*kept, 0);
}

TEST(CancelledProgressTest, mayBeReleasedByItsHandler)
{
    auto progress = std::make_shared<Progress>(10);
    const std::shared_ptr<ProgressState> state = progress->getState();
    progress->setCancelHandler([&] { progress.reset(); });
    progress->cancel();
    EXPECT_TRUE(state->hasEnded());
    progress = std::make_shared<Progress>(10);
    progress->cancel();
    progress->setCancelHandler([&] { progress.reset(); });
    EXPECT_FALSE(progress);
}

TEST(CancelledProgressTest, callsAHandlerOnceThatIsSetWhileItIsCancelled)
{
    constexpr int rounds = 2000;
    for (int round = 0; round < rounds; ++round) {
        const auto progress = std::make_shared<Progress>(1);
        std::atomic<int> calls{0};
        std::thread canceller([&] { progress->cancel(); });
        progress->setCancelHandler([&] { ++calls; });
        canceller.join();
        ASSERT_EQ(calls, 1);
    }
}

TEST(CancelledProgressTest, reachesAPartThatIsAddedMeanwhile)
{
    constexpr int rounds = 2000;
    for (int round = 0; round < rounds; ++round) {
        const auto progress = std::make_shared<Progress>(1);
        const auto part = std::make_shared<Progress>(1);
        const std::shared_ptr<ProgressState> state = progress->getState();
        std::thread canceller([&] { state->cancel(); });
        progress->addChildWithPendingCount(part, 1);
        canceller.join();
        ASSERT_TRUE(part->isCancelled());
    }
}

TEST_F(CancellationTest, isAStatusUntilTheWorkIsComplete)
{
    EXPECT_EQ(status(), EProgressStatus::Waiting);
    ++*leaf;
    EXPECT_EQ(status(), EProgressStatus::Running);
    whole->cancel();
    EXPECT_EQ(status(), EProgressStatus::Cancelled);
    EXPECT_EQ(leaf->getState()->getStatus(), EProgressStatus::Cancelled);
    leaf->setCompletedUnitCount(4);
    EXPECT_EQ(leaf->getState()->getStatus(), EProgressStatus::Complete);
}

TEST_F(CancellationTest, aPartThatRunsIsWorkOfTheWhole)
{
    const auto large = std::make_shared<Progress>(1000);
    whole->addChildWithPendingCount(large, 1);
    ++*large;
    EXPECT_EQ(large->getState()->getStatus(), EProgressStatus::Running);
    EXPECT_EQ(status(), EProgressStatus::Running);
    EXPECT_EQ(whole->getCompletedUnitCount(), 0);
}

TEST_F(CancellationTest, aFailureHasATextAndIsToldToWatchers)
{
    const auto watcher = std::make_shared<Watcher>();
    part->getState()->addWatcher(watcher);
    part->fail(L"The disk is full.");
    EXPECT_EQ(part->getState()->getStatus(), EProgressStatus::Failed);
    EXPECT_EQ(part->getState()->getFailure(), L"The disk is full.");
    EXPECT_EQ(watcher->senders, std::vector<Progress*>{part.get()});
    EXPECT_EQ(status(), EProgressStatus::Running);
    EXPECT_FALSE(part->isCancelled());
}

TEST(CancelledProgressTest, workWhosePartsAreCompleteIsCompleteThoughItsCountIsTruncated)
{
    const auto work = std::make_shared<Progress>(0);
    const auto steps = std::make_shared<Progress>(100);
    work->addChildWithPendingCount(steps, 100);
    for (int i = 0; i < 99; ++i)
        ++*steps;
    EXPECT_EQ(work->getState()->getStatus(), EProgressStatus::Running);
    ++*steps;
    EXPECT_EQ(work->getCompletedUnitCount(), 31);
    EXPECT_EQ(work->getState()->getStatus(), EProgressStatus::Complete);
    work->cancel();
    EXPECT_EQ(work->getState()->getStatus(), EProgressStatus::Complete);
}

TEST(CancelledProgressTest, theEndOfWorkThatIsNotCompleteIsAStatus)
{
    auto progress = std::make_shared<Progress>(2);
    const std::shared_ptr<ProgressState> incomplete = progress->getState();
    ++*progress;
    progress = std::make_shared<Progress>(1);
    EXPECT_EQ(incomplete->getStatus(), EProgressStatus::Ended);
    const std::shared_ptr<ProgressState> complete = progress->getState();
    ++*progress;
    progress.reset();
    EXPECT_EQ(complete->getStatus(), EProgressStatus::Complete);
}
