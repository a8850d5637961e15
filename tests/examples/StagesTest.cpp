#include "Stages.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "Options.h"

using namespace Brennic::Core;

namespace {

Options someOptions(int iterations, int subdivisions)
{
    Options options;
    options.iterations = iterations;
    options.subdivisions = subdivisions;
    options.threads = 2;
    return options;
}

void doAll(Stages& stages, Stage stage, int steps)
{
    for (int i = 1; i <= steps; ++i)
        stages.report(stage, i, steps);
}

} // namespace

TEST(Stages, subdivisionIsAStageOnlyIfAskedFor)
{
    EXPECT_FALSE(Stages(someOptions(10, 0), 1000).has(Stage::Subdivide));
    EXPECT_TRUE(Stages(someOptions(10, 1), 1000).has(Stage::Subdivide));
    EXPECT_TRUE(Stages(someOptions(10, 0), 1000).has(Stage::Save));
}

TEST(Stages, theRootIsCompleteWhenAllStagesAreHoweverManySteps)
{
    for (const int iterations : {1, 3, 10, 333, 5000, 100'000}) {
        Stages stages(someOptions(iterations, 2), 2'400'000);
        doAll(stages, Stage::Load, 1);
        doAll(stages, Stage::Subdivide, 2);
        doAll(stages, Stage::Smooth, iterations);
        EXPECT_FALSE(stages.root()->isComplete());
        doAll(stages, Stage::Save, 1);
        EXPECT_EQ(stages.root()->getCompletedUnitCount(), stages.root()->getTotalUnitCount()) << iterations;
        EXPECT_EQ(stages.root()->getState()->getFraction(), 1.0) << iterations;
    }
}

TEST(Stages, everyStageMovesTheRoot)
{
    Stages stages(someOptions(0, 0), 0);
    float before = stages.root()->getFractionCompleted();
    for (const Stage stage : {Stage::Load, Stage::Smooth, Stage::Save}) {
        stages.report(stage, 1, 1);
        EXPECT_GT(stages.root()->getFractionCompleted(), before);
        before = stages.root()->getFractionCompleted();
    }
    EXPECT_EQ(before, 1.0F);
}

TEST(Stages, moreIterationsWeighMore)
{
    Stages few(someOptions(1, 0), 2'400'000);
    Stages many(someOptions(100, 0), 2'400'000);
    few.report(Stage::Smooth, 1, 1);
    many.report(Stage::Smooth, 1, 1);
    EXPECT_LT(few.root()->getFractionCompleted(), many.root()->getFractionCompleted());
}

TEST(Stages, theRootIsNamedAfterTheStageThatHasBegun)
{
    Stages stages(someOptions(1, 0), 1000);
    stages.begin(Stage::Smooth);
    EXPECT_EQ(stages.root()->getDescription(), L"Smooth");
}

TEST(Stages, aRootWithANameOfItsOwnKeepsIt)
{
    Stages stages(someOptions(1, 0), 1000, L"bunny.obj");
    stages.begin(Stage::Smooth);
    EXPECT_EQ(stages.root()->getDescription(), L"bunny.obj");
}

TEST(Stages, everyStepMovesWhatIsShown)
{
    Stages stages(someOptions(100'000, 0), 2'400'000);
    stages.begin(Stage::Smooth);
    double before = stages.root()->getState()->getFraction();
    for (int i = 1; i <= 1000; ++i) {
        stages.report(Stage::Smooth, i, 100'000);
        const double now = stages.root()->getState()->getFraction();
        ASSERT_GT(now, before) << i;
        before = now;
    }
}

TEST(Stages, aFailureIsThatOfTheStageAndOfTheRunAndNothingWaitsAfterIt)
{
    Stages stages(someOptions(10, 0), 1000);
    const std::shared_ptr<ProgressState> root = stages.root()->getState();
    stages.begin(Stage::Load);
    stages.report(Stage::Load, 1, 1);
    stages.begin(Stage::Smooth);
    stages.fail(L"there is not enough memory");
    EXPECT_EQ(root->getStatus(), EProgressStatus::Failed);
    EXPECT_EQ(root->getFailure(), L"there is not enough memory");
    const std::vector<ProgressState::Part> parts = root->getParts();
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_EQ(parts[0].state->getStatus(), EProgressStatus::Complete);
    EXPECT_EQ(parts[1].state->getStatus(), EProgressStatus::Failed);
    EXPECT_EQ(parts[1].state->getFailure(), L"there is not enough memory");
    EXPECT_EQ(parts[2].state->getStatus(), EProgressStatus::Cancelled);
}
