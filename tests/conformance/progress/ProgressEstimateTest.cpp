/// \file
/// What `ProgressState::getEstimate` promises of any run; tests/unit/progress judges recorded ones.

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>

#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

class ProgressEstimateTest : public TaskFixture
{
protected:
    // Passes time, at which nothing happens.
    static void pass(std::chrono::milliseconds time)
    {
        const Clock::time_point end = Clock::now() + time;
        EXPECT_TRUE(serveUntil([&] { return Clock::now() >= end; }));
    }

    std::shared_ptr<Progress> progress = std::make_shared<Progress>(100, L"Smoothing");
    std::shared_ptr<ProgressState> state = progress->getState();
};

} // namespace

TEST_F(ProgressEstimateTest, ofWorkThatWaitsNothingIsSaid)
{
    const ProgressEstimate estimate = state->getEstimate();
    EXPECT_EQ(estimate.elapsed, 0s);
    EXPECT_FALSE(estimate.remaining);
    EXPECT_EQ(estimate.unitsPerSecond, 0);
}

TEST_F(ProgressEstimateTest, timePassesFromTheFirstSetOfTheCount)
{
    const Clock::time_point before = Clock::now();
    pass(20ms);
    progress->setCompletedUnitCount(0);
    const Clock::time_point begin = Clock::now();
    pass(20ms);
    progress->setCompletedUnitCount(1);
    const Clock::time_point middle = Clock::now();
    const Seconds elapsed = state->getEstimate().elapsed;
    EXPECT_GE(elapsed, middle - begin);
    EXPECT_LE(elapsed, Clock::now() - before - 20ms);
}

TEST_F(ProgressEstimateTest, halfOfTheWorkLeavesTheTimeThatTheOtherHalfHasTaken)
{
    ++*progress;
    pass(1100ms);
    progress->setCompletedUnitCount(50);
    const ProgressEstimate estimate = state->getEstimate();
    ASSERT_TRUE(estimate.remaining);
    EXPECT_NEAR(estimate.remaining->count(), estimate.elapsed.count(), 1e-6);
    EXPECT_NEAR(estimate.unitsPerSecond, 50 / estimate.elapsed.count(), 1e-6);
}

TEST_F(ProgressEstimateTest, itIsJudgedByTheFractionAndNotByACountThatTruncationHasCut)
{
    const auto whole = std::make_shared<Progress>(0, L"Whole");
    whole->addChildWithPendingCount(progress, 100);
    ++*progress;
    pass(1100ms);
    for (int i = 1; i < 50; ++i)
        ++*progress;
    ASSERT_NE(whole->getCompletedUnitCount(), 50);
    const ProgressEstimate estimate = whole->getState()->getEstimate();
    ASSERT_TRUE(estimate.remaining);
    EXPECT_NEAR(estimate.remaining->count(), estimate.elapsed.count(), 1e-6);
    EXPECT_NEAR(estimate.unitsPerSecond, 50 / estimate.elapsed.count(), 1e-6);
}

TEST_F(ProgressEstimateTest, ofCompleteWorkNothingRemainsAndTimeStands)
{
    ++*progress;
    pass(20ms);
    progress->setCompletedUnitCount(100);
    const ProgressEstimate estimate = state->getEstimate();
    EXPECT_EQ(estimate.remaining, Seconds(0));
    EXPECT_NEAR(estimate.unitsPerSecond, 100 / estimate.elapsed.count(), 1e-6);
    pass(20ms);
    progress->setCompletedUnitCount(100);
    progress.reset();
    EXPECT_EQ(state->getEstimate().elapsed, estimate.elapsed);
}

TEST_F(ProgressEstimateTest, workThatGrowsWhenItIsCompleteGoesOn)
{
    progress->setCompletedUnitCount(100);
    const Seconds before = state->getEstimate().elapsed;
    progress->setTotalUnitCount(200);
    pass(20ms);
    EXPECT_GE(state->getEstimate().elapsed, before + 20ms);
    EXPECT_NE(state->getEstimate().remaining, Seconds(0));
}

TEST_F(ProgressEstimateTest, timeOfWorkThatGoesOnCountsThoughNobodyHasAskedMeanwhile)
{
    progress->setCompletedUnitCount(100);
    progress->setTotalUnitCount(200);
    pass(20ms);
    progress->setCompletedUnitCount(200);
    const Seconds grown = state->getEstimate().elapsed;
    EXPECT_GE(grown, 20ms);
    progress->setCompletedUnitCount(150);
    pass(20ms);
    progress->setCompletedUnitCount(200);
    EXPECT_GE(state->getEstimate().elapsed, grown + 20ms);
    progress->addChildWithPendingCount(std::make_shared<Progress>(1), 300);
    pass(20ms);
    progress->setCompletedUnitCount(300);
    EXPECT_GE(state->getEstimate().elapsed, grown + 40ms);
}

TEST_F(ProgressEstimateTest, workWhoseCountHasLostUnitsEndsWithItsLastPart)
{
    const auto middle = std::make_shared<Progress>(0);
    const auto parts = {std::make_shared<Progress>(100), std::make_shared<Progress>(100)};
    progress->addChildWithPendingCount(middle, 100);
    for (const auto& part : parts)
        middle->addChildWithPendingCount(part, 50);
    const Clock::time_point begin = Clock::now();
    for (const auto& part : parts)
        for (int i = 0; i < 100; ++i)
            ++*part;
    const Clock::time_point end = Clock::now();
    ASSERT_LT(progress->getCompletedUnitCount(), 100);
    pass(20ms);
    const ProgressEstimate estimate = state->getEstimate();
    EXPECT_EQ(estimate.remaining, Seconds(0));
    EXPECT_GT(estimate.elapsed, 0s);
    EXPECT_LE(estimate.elapsed, end - begin);
}

TEST_F(ProgressEstimateTest, workOfAPartThatWasCompleteBeforeTakesNoTime)
{
    const auto part = std::make_shared<Progress>(1);
    part->setCompletedUnitCount(1);
    pass(5ms);
    progress->addChildWithPendingCount(part, 100);
    progress->setCompletedUnitCount(0);
    EXPECT_EQ(state->getEstimate().remaining, Seconds(0));
    EXPECT_EQ(state->getEstimate().elapsed, 0s);
}

TEST_F(ProgressEstimateTest, afterACancelAFailureOrTheEndNothingRemainsToBeSaid)
{
    for (const bool isCancelled : {true, false}) {
        const auto work = std::make_shared<Progress>(100);
        ++*work;
        if (isCancelled)
            work->cancel();
        else
            work->fail(L"no memory");
        EXPECT_FALSE(work->getState()->getEstimate().remaining);
    }
    ++*progress;
    progress.reset();
    const ProgressEstimate estimate = state->getEstimate();
    EXPECT_FALSE(estimate.remaining);
    pass(20ms);
    EXPECT_EQ(state->getEstimate().elapsed, estimate.elapsed);
}

TEST_F(ProgressEstimateTest, whileTheTotalIsNotKnownTimePassesAndNothingElseIsSaid)
{
    progress->setTotalUnitCount(0);
    ++*progress;
    pass(1100ms);
    ++*progress;
    const ProgressEstimate estimate = state->getEstimate();
    EXPECT_GE(estimate.elapsed, 1100ms);
    EXPECT_FALSE(estimate.remaining);
    EXPECT_EQ(estimate.unitsPerSecond, 0);
}

TEST_F(ProgressEstimateTest, manyThreadsMayAskWhileTheWorkGoesOn)
{
    constexpr int steps = 20'000;
    progress->setTotalUnitCount(steps);
    std::vector<std::thread> displays;
    for (int i = 0; i < 3; ++i)
        displays.emplace_back([this] {
            Seconds before(0);
            while (state->getStatus() != EProgressStatus::Complete) {
                const ProgressEstimate estimate = state->getEstimate();
                EXPECT_GE(estimate.elapsed, before);
                before = estimate.elapsed;
            }
        });
    for (int i = 0; i < steps; ++i)
        ++*progress;
    for (std::thread& display : displays)
        display.join();
    EXPECT_EQ(state->getEstimate().remaining, Seconds(0));
}
