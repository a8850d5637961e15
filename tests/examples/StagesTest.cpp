#include "Stages.h"

#include <gtest/gtest.h>

#include "Options.h"

namespace {

Options someOptions(int iterations, int subdivisions)
{
    Options options;
    options.iterations = iterations;
    options.subdivisions = subdivisions;
    options.threads = 2;
    return options;
}

void doAll(Stages& stages, Stage stage, std::size_t steps)
{
    for (std::size_t i = 1; i <= steps; ++i)
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
    for (const std::size_t iterations : {1U, 3U, 10U, 333U, 5000U}) {
        Stages stages(someOptions(static_cast<int>(iterations), 2), 2'400'000);
        doAll(stages, Stage::Load, 1);
        doAll(stages, Stage::Subdivide, 2);
        doAll(stages, Stage::Smooth, iterations);
        EXPECT_FALSE(stages.root()->isComplete());
        doAll(stages, Stage::Save, 1);
        EXPECT_EQ(stages.root()->getCompletedUnitCount(), stages.root()->getTotalUnitCount()) << iterations;
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

TEST(Stages, aStageWithoutPartsIsDone)
{
    Stages stages(someOptions(0, 0), 1000);
    stages.report(Stage::Smooth, 0, 0);
    EXPECT_GT(stages.root()->getFractionCompleted(), 0.0F);
}
