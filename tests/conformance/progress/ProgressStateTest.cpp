#include <brn_mesh_kernel/progress/ProgressState.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>

#include "support/Latch.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

struct Watcher final : ProgressReportingProtocol
{
    void progressUpdated(Progress*, float fraction, const std::wstring& text) override
    {
        ++updates;
        lastFraction = fraction;
        lastText = text;
    }
    void progressCompleted(Progress*, const std::wstring&) override { ++completions; }

    int updates = 0;
    int completions = 0;
    float lastFraction = -1.0F;
    std::wstring lastText;
};

struct Throwing final : ProgressReportingProtocol
{
    void progressUpdated(Progress*, float, const std::wstring&) override { throw std::runtime_error("no"); }
};

// Lets go of a progress when it hears of it.
template <typename Pointer>
struct Releaser final : ProgressReportingProtocol
{
    void progressUpdated(Progress*, float, const std::wstring&) override { progress.reset(); }
    void progressCompleted(Progress*, const std::wstring&) override { progress.reset(); }
    Pointer progress;
};

const std::vector<std::function<void(Progress&)>> changes = {
    [](Progress& progress) { progress.setCompletedUnitCount(10); },
    [](Progress& progress) { EXPECT_EQ(++progress, 1); },
    [](Progress& progress) { EXPECT_EQ(progress += 3, 3); },
    [](Progress& progress) { progress.setTotalUnitCount(20); },
    [](Progress& progress) { progress.setDescription(L"a description that is longer than the other one"); },
    [](Progress& progress) { progress.addChildWithPendingCount(std::make_shared<Progress>(1), 3); },
};

class ProgressStateTest : public TaskFixture
{
protected:
    std::shared_ptr<Progress> progress = std::make_shared<Progress>(10, L"Reading");
    std::shared_ptr<ProgressState> state = progress->getState();
    std::shared_ptr<Watcher> watcher = std::make_shared<Watcher>();
};

} // namespace

TEST_F(ProgressStateTest, aProgressHasOneStateThatFollowsIt)
{
    EXPECT_EQ(progress->getState(), state);
    progress->setTotalUnitCount(20);
    progress->setCompletedUnitCount(5);
    progress->setDescription(L"Writing");
    EXPECT_EQ(state->getTotalUnitCount(), 20);
    EXPECT_EQ(state->getCompletedUnitCount(), 5);
    EXPECT_EQ(state->getDescription(), L"Writing");
    EXPECT_FALSE(state->hasEnded());
}

TEST_F(ProgressStateTest, itHasThePartsInTheOrderOfTheirAddition)
{
    const auto first = std::make_shared<Progress>(1, L"first");
    const auto second = std::make_shared<Progress>(1, L"second");
    progress->addChildWithPendingCount(first, 3);
    progress->addChildWithPendingCount(second, 4);
    progress->addChildWithPendingCount(first, 5); // there already
    const std::vector<ProgressState::Part> parts = state->getParts();
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0].state, first->getState());
    EXPECT_EQ(parts[0].pendingUnitCount, 3);
    EXPECT_EQ(parts[1].state, second->getState());
    ASSERT_EQ(state->getParts(1).size(), 1U);
    EXPECT_EQ(state->getParts(1)[0].state, second->getState());
    EXPECT_TRUE(state->getParts(2).empty());
    EXPECT_TRUE(state->getParts(9).empty());
}

TEST_F(ProgressStateTest, itOutlivesTheProgressAndItsPartsWithoutKeepingThem)
{
    progress->addChildWithPendingCount(std::make_shared<Progress>(1, L"part"), 3);
    progress->setCompletedUnitCount(7);
    const std::weak_ptr<Progress> weak = progress;
    progress.reset();
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(state->hasEnded());
    EXPECT_EQ(state->getCompletedUnitCount(), 7);
    EXPECT_TRUE(state->getParts().at(0).state->hasEnded());
}

TEST_F(ProgressStateTest, aWatcherHearsOfReportsAsADelegateDoes)
{
    state->addWatcher(watcher);
    progress->setCompletedUnitCount(5);
    EXPECT_EQ(watcher->updates, 1);
    EXPECT_EQ(watcher->lastFraction, 0.5F);
    EXPECT_EQ(watcher->lastText, L"Reading");
    progress->setCompletedUnitCount(10);
    EXPECT_EQ(watcher->completions, 1);
}

TEST_F(ProgressStateTest, aWatcherHearsOfEveryOtherChangeToo)
{
    state->addWatcher(watcher);
    progress->setTotalUnitCount(20);
    progress->setDescription(L"Writing");
    progress->addChildWithPendingCount(std::make_shared<Progress>(1), 3);
    EXPECT_EQ(watcher->updates, 3);
    progress.reset();
    EXPECT_EQ(watcher->updates, 4);
}

TEST_F(ProgressStateTest, aWatcherAndADelegateDoNotDisturbEachOther)
{
    const auto delegate = std::make_shared<Watcher>();
    state->addWatcher(watcher);
    EXPECT_EQ(progress->getDelegate(), nullptr);
    progress->setDelegate(delegate, false);
    progress->setCompletedUnitCount(1);
    progress->setDelegate(nullptr, false);
    progress->setCompletedUnitCount(2);
    EXPECT_EQ(delegate->updates, 1);
    EXPECT_EQ(watcher->updates, 2);
}

TEST_F(ProgressStateTest, theDelegateHearsNothingOfWhatIsNoReport)
{
    const auto delegate = std::make_shared<Watcher>();
    progress->setDelegate(delegate, false);
    state->addWatcher(watcher);
    progress->setDescription(L"Writing");
    progress->setTotalUnitCount(20);
    progress.reset();
    EXPECT_EQ(delegate->updates, 0);
    EXPECT_EQ(watcher->updates, 3);
}

TEST_F(ProgressStateTest, aWatcherThatHasGoneHearsNothingAndAnEmptyOneIsIgnored)
{
    state->addWatcher(nullptr);
    state->addWatcher(watcher);
    state->addWatcher(watcher); // called twice
    const std::weak_ptr<Watcher> weak = watcher;
    progress->setCompletedUnitCount(1);
    EXPECT_EQ(watcher->updates, 2);
    watcher.reset();
    EXPECT_TRUE(weak.expired());
    progress->setCompletedUnitCount(2);
}

TEST_F(ProgressStateTest, anExceptionOfAWatcherReachesTheReporterButNotADestructor)
{
    const auto throwing = std::make_shared<Throwing>();
    state->addWatcher(throwing);
    EXPECT_THROW(progress->setCompletedUnitCount(1), std::runtime_error);
    EXPECT_EQ(state->getCompletedUnitCount(), 1);
    EXPECT_NO_THROW(progress.reset());
    EXPECT_TRUE(state->hasEnded());
}

TEST_F(ProgressStateTest, aWatcherMayReleaseTheLastPointerToTheProgress)
{
    for (const auto& change : changes) {
        const auto releaser = std::make_shared<Releaser<std::shared_ptr<Progress>>>();
        releaser->progress = std::make_shared<Progress>(10, L"Reading what there is to be read");
        Progress& changed = *releaser->progress;
        const std::shared_ptr<ProgressState> watched = changed.getState();
        watched->addWatcher(releaser);
        change(changed);
        EXPECT_EQ(releaser->progress, nullptr);
        EXPECT_TRUE(watched->hasEnded());
    }
}

TEST_F(ProgressStateTest, aWatcherMayDestroyAProgressThatOnlyItOwns)
{
    for (const auto& change : changes) {
        const auto releaser = std::make_shared<Releaser<std::unique_ptr<Progress>>>();
        releaser->progress = std::make_unique<Progress>(10, L"Reading what there is to be read");
        Progress& changed = *releaser->progress;
        changed.getState()->addWatcher(releaser);
        change(changed); // by which the state goes too
        EXPECT_EQ(releaser->progress, nullptr);
    }
}

TEST_F(ProgressStateTest, theDelegateHearsOfTheReportAtWhichAWatcherReleasesTheProgress)
{
    const auto releaser = std::make_shared<Releaser<std::shared_ptr<Progress>>>();
    {
        const auto part = std::make_shared<Progress>(10);
        part->getState()->addWatcher(releaser);
        part->setDelegate(std::shared_ptr<ProgressReportingProtocol>(watcher), false);
        releaser->progress = part;
    }
    releaser->progress->setCompletedUnitCount(10);
    EXPECT_EQ(releaser->progress, nullptr);
    EXPECT_EQ(watcher->completions, 1);
}

TEST_F(ProgressStateTest, aReportTellsTheDelegateWhatAWatcherHasSet)
{
    struct Setter final : ProgressReportingProtocol
    {
        void progressUpdated(Progress* changed, float fraction, const std::wstring&) override
        {
            if (fraction < 0.5F)
                changed->setCompletedUnitCount(5);
        }
    };
    const auto setter = std::make_shared<Setter>();
    state->addWatcher(setter);
    progress->setDelegate(watcher, false);
    progress->setCompletedUnitCount(1);
    EXPECT_EQ(watcher->updates, 2);
    EXPECT_EQ(watcher->lastFraction, 0.5F);
}

TEST_F(ProgressStateTest, allOfItIsReadWhileAnotherThreadChangesIt)
{
    Latch hasEnded;
    std::thread worker([&] {
        for (int i = 1; i <= 1000; ++i) {
            progress->setDescription(L"a description that is longer than what fits " + std::to_wstring(i));
            progress->addChildWithPendingCount(std::make_shared<Progress>(1), 1);
            progress->setCompletedUnitCount(i);
        }
        progress.reset();
        hasEnded.countDown();
    });
    std::size_t parts = 0;
    int completed = 0;
    while (!state->hasEnded()) {
        EXPECT_FALSE(state->getDescription().empty());
        EXPECT_LE(completed, state->getCompletedUnitCount());
        completed = state->getCompletedUnitCount();
        parts += state->getParts(parts).size();
    }
    EXPECT_TRUE(hasEnded.wait());
    worker.join();
    EXPECT_EQ(parts + state->getParts(parts).size(), 1000U);
    EXPECT_EQ(state->getTotalUnitCount(), 1000);
}
