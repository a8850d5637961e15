#include <cstdint>
#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>

using namespace Brennic::Core;

namespace {

struct Tree
{
    Tree(int total, int pending, bool keepsRemainders) : part(std::make_shared<Progress>(total))
    {
        whole->setKeepsRemainders(keepsRemainders);
        whole->addChildWithPendingCount(part, pending);
    }

    double fraction() const { return whole->getState()->getFraction(); }

    std::shared_ptr<Progress> whole = std::make_shared<Progress>(0);
    std::shared_ptr<Progress> part;
};

constexpr int steps = 100;

} // namespace

TEST(ProgressFractionTest, theCountLosesWhatTruncationCuts)
{
    Tree tree(steps, steps, false);
    for (int i = 0; i < steps; ++i)
        ++*tree.part;
    EXPECT_EQ(tree.whole->getCompletedUnitCount(), 31);
}

TEST(ProgressFractionTest, theStateKeepsWhatTruncationCuts)
{
    Tree tree(steps, steps, false);
    for (int i = 1; i <= steps; ++i) {
        ++*tree.part;
        EXPECT_DOUBLE_EQ(tree.fraction(), static_cast<double>(i) / steps);
    }
    EXPECT_EQ(tree.fraction(), 1.0);
}

TEST(ProgressFractionTest, aParentThatKeepsRemaindersArrivesAtItsTotal)
{
    Tree tree(steps, steps, true);
    for (int i = 1; i <= steps; ++i) {
        ++*tree.part;
        EXPECT_NEAR(tree.whole->getCompletedUnitCount(), i, 1) << i;
    }
    EXPECT_EQ(tree.whole->getCompletedUnitCount(), steps);
}

TEST(ProgressFractionTest, keptRemaindersAreExactForAnyTotalsAndSteps)
{
    std::mt19937 random(1);
    constexpr int most = 2'000'000'000;
    for (int round = 0; round < 2000; ++round) {
        // As many small totals as large ones.
        const auto draw = [&random] {
            const int limit = 1 << std::uniform_int_distribution<int>(0, 30)(random);
            return std::uniform_int_distribution<int>(1, limit)(random);
        };
        const int total = round == 0 ? most : draw();
        const int pending = round < 2 ? most : draw();
        Tree tree(total, pending, true);
        const auto own = std::make_shared<Progress>(7);
        tree.whole->addChildWithPendingCount(own, 3);
        for (int report = 0; report < 50; ++report) // forwards and backwards
            tree.part->setCompletedUnitCount(std::uniform_int_distribution<int>(0, total)(random));
        tree.part->setCompletedUnitCount(total);
        ASSERT_EQ(tree.whole->getCompletedUnitCount(), pending) << total << " on " << pending;
        ++*own;
        ASSERT_EQ(tree.whole->getCompletedUnitCount(), pending);
        own->setCompletedUnitCount(7);
        ASSERT_EQ(tree.whole->getCompletedUnitCount(), pending + 3);
        ASSERT_EQ(tree.fraction(), 1.0);
    }
}

TEST(ProgressFractionTest, remaindersMayBeKeptFromSomeMomentOn)
{
    Tree tree(steps, steps, false);
    for (int i = 0; i < steps / 2; ++i)
        ++*tree.part;
    tree.whole->setKeepsRemainders(true);
    for (int i = 0; i < steps / 2; ++i)
        ++*tree.part;
    EXPECT_EQ(tree.whole->getCompletedUnitCount(), steps);
}

TEST(ProgressFractionTest, goesThroughTheLevels)
{
    const auto root = std::make_shared<Progress>(0);
    const auto middle = std::make_shared<Progress>(0);
    const auto left = std::make_shared<Progress>(3);
    const auto right = std::make_shared<Progress>(3);
    root->addChildWithPendingCount(middle, 1);
    middle->addChildWithPendingCount(left, 1);
    middle->addChildWithPendingCount(right, 1);
    ++*left;
    EXPECT_DOUBLE_EQ(root->getState()->getFraction(), 1.0 / 6);
    EXPECT_EQ(root->getCompletedUnitCount(), 0);
    left->setCompletedUnitCount(3);
    EXPECT_DOUBLE_EQ(root->getState()->getFraction(), 0.5);
    right->setCompletedUnitCount(3);
    EXPECT_EQ(root->getState()->getFraction(), 1.0);
}

TEST(ProgressFractionTest, addsWhatTheProgressCountsByItself)
{
    Tree tree(4, 50, false);
    tree.whole->setTotalUnitCount(100);
    *tree.whole += 20;
    ++*tree.part;
    EXPECT_DOUBLE_EQ(tree.fraction(), (20 + 12.5) / 100);
}

TEST(ProgressFractionTest, staysBetweenNothingAndAll)
{
    Tree tree(4, 50, false);
    tree.part->setCompletedUnitCount(9);
    EXPECT_EQ(tree.fraction(), 1.0);
    tree.part->setCompletedUnitCount(-9);
    EXPECT_EQ(tree.fraction(), 0.0);
    EXPECT_EQ(Progress(0).getState()->getFraction(), 0.0);
    EXPECT_EQ(Progress(-1).getState()->getFraction(), 0.0);
}
