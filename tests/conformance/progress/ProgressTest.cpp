#include <brn_mesh_kernel/progress/Progress.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "conformance/progress/RecordingReceiver.h"
#include "support/TaskFixture.h"
#include "support/VirtualSlot.h"

using namespace Brennic;
using namespace Brennic::Testing;
using Core::Progress;
using Core::ProgressReportingProtocol;

namespace {

class ProgressTest : public TaskFixture
{
protected:
    static constexpr int smallest = std::numeric_limits<int>::min();
    static constexpr int largest = std::numeric_limits<int>::max();
    static constexpr int levelsAtMost = 256;

    std::shared_ptr<RecordingReceiver> receiver = std::make_shared<RecordingReceiver>();
};

} // namespace

TEST_F(ProgressTest, theBasesStandInTheirOrder)
{
    Progress progress;
    const auto* const shared =
        reinterpret_cast<char*>(static_cast<Objects::SharedObject<Progress>*>(&progress));
    const auto* const delegator =
        reinterpret_cast<char*>(static_cast<Core::Delegator<ProgressReportingProtocol>*>(&progress));
    const auto* const protocol = reinterpret_cast<char*>(static_cast<ProgressReportingProtocol*>(&progress));
    EXPECT_EQ(shared, reinterpret_cast<char*>(&progress));
    EXPECT_LT(shared, delegator);
    EXPECT_LT(delegator, protocol);
    EXPECT_TRUE(std::has_virtual_destructor_v<Progress>);
}

TEST_F(ProgressTest, theDelegatorsOperationsStandInTheirOrder)
{
    using Base = Core::Delegator<ProgressReportingProtocol>;
    using Shared = void (Base::*)(const std::shared_ptr<ProgressReportingProtocol>&, bool);
    using Pointer = void (Base::*)(ProgressReportingProtocol*);
    EXPECT_EQ(virtualSlot(static_cast<Shared>(&Base::setDelegate)), 7U);
    EXPECT_EQ(virtualSlot(static_cast<Pointer>(&Base::setDelegate)), 8U);
}

TEST_F(ProgressTest, aDefaultProgressIsIndeterminateAndComplete)
{
    Progress progress;
    EXPECT_EQ(progress.getTotalUnitCount(), -1);
    EXPECT_EQ(progress.getCompletedUnitCount(), 0);
    EXPECT_EQ(progress.getDescription(), L"");
    EXPECT_TRUE(progress.isIndeterminateProgress());
    EXPECT_TRUE(progress.isComplete());
    EXPECT_EQ(progress.getFractionCompleted(), 0.0F);
    EXPECT_TRUE(std::signbit(progress.getFractionCompleted()));
    EXPECT_EQ(progress.getDelegate(), nullptr);
}

TEST_F(ProgressTest, aTotalOfZeroIsIndeterminateAndCompleteAndNoNumber)
{
    Progress progress(0, L"");
    EXPECT_TRUE(progress.isIndeterminateProgress());
    EXPECT_TRUE(progress.isComplete());
    EXPECT_TRUE(std::isnan(progress.getFractionCompleted()));
    progress.setCompletedUnitCount(1);
    EXPECT_TRUE(std::isinf(progress.getFractionCompleted()));
    EXPECT_GT(progress.getFractionCompleted(), 0.0F);
}

TEST_F(ProgressTest, takesTotalAndDescription)
{
    Progress progress(12, L"Smoothing");
    EXPECT_EQ(progress.getTotalUnitCount(), 12);
    EXPECT_EQ(progress.getDescription(), L"Smoothing");
    EXPECT_FALSE(progress.isIndeterminateProgress());
    EXPECT_FALSE(progress.isComplete());
}

TEST_F(ProgressTest, aFractionMayLieAboveOneAndBelowZero)
{
    Progress progress(10);
    progress.setCompletedUnitCount(15);
    EXPECT_EQ(progress.getFractionCompleted(), 1.5F);
    EXPECT_TRUE(progress.isComplete());
    progress.setCompletedUnitCount(-5);
    EXPECT_EQ(progress.getFractionCompleted(), -0.5F);
    EXPECT_FALSE(progress.isComplete());
}

TEST_F(ProgressTest, isCompleteFromTheTotalOn)
{
    Progress progress(3);
    progress.setCompletedUnitCount(2);
    EXPECT_FALSE(progress.isComplete());
    progress.setCompletedUnitCount(3);
    EXPECT_TRUE(progress.isComplete());
    progress.setTotalUnitCount(4);
    EXPECT_FALSE(progress.isComplete());
}

TEST_F(ProgressTest, incrementsAddToTheCount)
{
    Progress progress(10);
    progress.incrementCompletedUnitCount(4);
    EXPECT_EQ(progress.getCompletedUnitCount(), 4);
    EXPECT_EQ(progress += 3, 7);
    EXPECT_EQ(++progress, 8);
    progress.incrementCompletedUnitCount(-6);
    EXPECT_EQ(progress.getCompletedUnitCount(), 2);
}

TEST_F(ProgressTest, theOperatorsReturnNumbers)
{
    EXPECT_TRUE((std::is_same_v<decltype(++std::declval<Progress&>()), int>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<Progress&>() += 1), int>));
}

TEST_F(ProgressTest, everySetOfTheCountIsReportedAlsoWithoutAChange)
{
    Progress progress(10);
    progress.setDelegate(receiver, false);
    progress.setCompletedUnitCount(5);
    progress.setCompletedUnitCount(5);
    ASSERT_EQ(receiver->messages().size(), 2U);
    EXPECT_EQ(receiver->messages()[1].fraction, 0.5F);
}

TEST_F(ProgressTest, totalAndDescriptionAreSetInSilence)
{
    Progress progress(10);
    progress.setDelegate(receiver, false);
    progress.setTotalUnitCount(20);
    progress.setDescription(L"other");
    EXPECT_TRUE(receiver->messages().empty());
    EXPECT_EQ(progress.getTotalUnitCount(), 20);
    EXPECT_EQ(progress.getDescription(), L"other");
}

TEST_F(ProgressTest, theSameDescriptionMayBeSetAgain)
{
    Progress progress(10, L"same");
    const std::wstring& own = L"same";
    progress.setDescription(own);
    EXPECT_EQ(progress.getDescription(), L"same");
}

TEST_F(ProgressTest, anIncrementBeyondTheRangeOfCountsStopsAtItsEnd)
{
    Progress progress(largest);
    progress.setCompletedUnitCount(largest - 1);
    EXPECT_EQ(progress += 3, largest);
    progress.setCompletedUnitCount(smallest + 1);
    EXPECT_EQ(progress += -3, smallest);
}

TEST_F(ProgressTest, aParentsTotalGrowsToTheSumOfItsChildren)
{
    const auto parent = std::make_shared<Progress>(0);
    parent->addChildWithPendingCount(std::make_shared<Progress>(1), 30);
    EXPECT_EQ(parent->getTotalUnitCount(), 30);
    parent->addChildWithPendingCount(std::make_shared<Progress>(1), 70);
    EXPECT_EQ(parent->getTotalUnitCount(), 100);
}

TEST_F(ProgressTest, aTotalThatIsTooSmallGrowsAndALargerOneIsKept)
{
    const auto small = std::make_shared<Progress>(5);
    small->addChildWithPendingCount(std::make_shared<Progress>(1), 4);
    EXPECT_EQ(small->getTotalUnitCount(), 5);
    small->addChildWithPendingCount(std::make_shared<Progress>(1), 4);
    EXPECT_EQ(small->getTotalUnitCount(), 8);
    const auto large = std::make_shared<Progress>(200);
    large->addChildWithPendingCount(std::make_shared<Progress>(1), 100);
    EXPECT_EQ(large->getTotalUnitCount(), 200);
}

TEST_F(ProgressTest, aSumBeyondTheRangeOfCountsStopsAtItsEnd)
{
    const auto parent = std::make_shared<Progress>(0);
    const auto first = std::make_shared<Progress>(1);
    const auto second = std::make_shared<Progress>(1);
    parent->addChildWithPendingCount(first, largest);
    parent->addChildWithPendingCount(second, largest);
    EXPECT_EQ(parent->getTotalUnitCount(), largest);
    first->setCompletedUnitCount(1);
    second->setCompletedUnitCount(1);
    EXPECT_EQ(parent->getCompletedUnitCount(), largest);
}

TEST_F(ProgressTest, aSumThatLeavesTheRangeOfCountsIsExactOnceItIsBack)
{
    const auto parent = std::make_shared<Progress>(smallest);
    parent->addChildWithPendingCount(std::make_shared<Progress>(1), smallest);
    parent->addChildWithPendingCount(std::make_shared<Progress>(1), smallest);
    EXPECT_EQ(parent->getTotalUnitCount(), smallest);
    parent->addChildWithPendingCount(std::make_shared<Progress>(1), largest);
    parent->addChildWithPendingCount(std::make_shared<Progress>(1), largest);
    EXPECT_EQ(parent->getTotalUnitCount(), -2);
}

TEST_F(ProgressTest, addingAChildReportsNothing)
{
    const auto parent = std::make_shared<Progress>(10);
    parent->setDelegate(receiver, false);
    parent->addChildWithPendingCount(std::make_shared<Progress>(1), 5);
    EXPECT_TRUE(receiver->messages().empty());
}

TEST_F(ProgressTest, aChildThatIsAddedTwiceKeepsItsFirstCount)
{
    const auto parent = std::make_shared<Progress>(0);
    const auto child = std::make_shared<Progress>(1);
    parent->addChildWithPendingCount(child, 10);
    parent->setDelegate(receiver, false);
    parent->addChildWithPendingCount(child, 90);
    EXPECT_EQ(parent->getTotalUnitCount(), 10);
    EXPECT_TRUE(receiver->messages().empty());
    child->setCompletedUnitCount(1);
    EXPECT_EQ(parent->getCompletedUnitCount(), 10);
}

TEST_F(ProgressTest, anEmptyChildIsIgnored)
{
    const auto parent = std::make_shared<Progress>(3);
    parent->addChildWithPendingCount(nullptr, 50);
    EXPECT_EQ(parent->getTotalUnitCount(), 3);
}

TEST_F(ProgressTest, aProgressIsNoPartOfItself)
{
    const auto progress = std::make_shared<Progress>(3);
    progress->setDelegate(receiver, false);
    progress->addChildWithPendingCount(progress, 50);
    EXPECT_EQ(progress->getTotalUnitCount(), 3);
    EXPECT_EQ(progress->getDelegate(), receiver.get());
    EXPECT_TRUE(progress->getState()->getParts().empty());
    EXPECT_EQ(progress.use_count(), 1);
    progress->setCompletedUnitCount(2);
    EXPECT_EQ(receiver->messages().size(), 1U);
}

TEST_F(ProgressTest, aPartThatWouldCloseACircleIsIgnored)
{
    const auto root = std::make_shared<Progress>(0);
    const auto middle = std::make_shared<Progress>(0);
    const auto leaf = std::make_shared<Progress>(4);
    middle->addChildWithPendingCount(leaf, 4);
    root->addChildWithPendingCount(middle, 4);
    root->setDelegate(receiver, false);
    for (int attempt = 0; attempt < 3; ++attempt) {
        leaf->addChildWithPendingCount(root, 50);
        middle->addChildWithPendingCount(root, 50);
    }
    EXPECT_EQ(leaf->getTotalUnitCount(), 4);
    EXPECT_EQ(middle->getTotalUnitCount(), 4);
    EXPECT_EQ(root->getDelegate(), receiver.get());
    EXPECT_EQ(root.use_count(), 1);
    leaf->setCompletedUnitCount(3);
    EXPECT_EQ(root->getCompletedUnitCount(), 3);
}

TEST_F(ProgressTest, aPartOfTwoWholesIsNoCircle)
{
    const auto root = std::make_shared<Progress>(0);
    const auto left = std::make_shared<Progress>(0);
    const auto right = std::make_shared<Progress>(0);
    const auto shared = std::make_shared<Progress>(2);
    left->addChildWithPendingCount(shared, 10);
    right->addChildWithPendingCount(shared, 10);
    root->addChildWithPendingCount(left, 10);
    root->addChildWithPendingCount(right, 10);
    root->addChildWithPendingCount(shared, 10);
    EXPECT_EQ(root->getState()->getParts().size(), 3U);
    shared->setCompletedUnitCount(1); // told to the last whole that it was added to
    EXPECT_EQ(right->getCompletedUnitCount(), 0);
    EXPECT_EQ(root->getCompletedUnitCount(), 5);
}

// As a tree it would have as many leaves as there are atoms in a grain of sand.
TEST_F(ProgressTest, partsThatManyWholesShareAreLookedAtOnce)
{
    std::shared_ptr<Progress> whole = std::make_shared<Progress>(1);
    for (int level = 0; level < 60; ++level) {
        const auto left = std::make_shared<Progress>(0);
        const auto right = std::make_shared<Progress>(0);
        left->addChildWithPendingCount(whole, 1);
        right->addChildWithPendingCount(whole, 1);
        whole = std::make_shared<Progress>(0);
        whole->addChildWithPendingCount(left, 1);
        whole->addChildWithPendingCount(right, 1);
    }
    EXPECT_EQ(whole->getTotalUnitCount(), 2);
}

TEST_F(ProgressTest, aPartThatLiesTooDeepIsRefusedWithAnError)
{
    const auto root = std::make_shared<Progress>(0);
    std::shared_ptr<Progress> deepest = root;
    for (int level = 1; level < levelsAtMost; ++level) {
        const auto part = std::make_shared<Progress>(1);
        deepest->addChildWithPendingCount(part, 1);
        deepest = part;
    }
    const auto part = std::make_shared<Progress>(1);
    part->setDelegate(receiver, false);
    EXPECT_THROW(deepest->addChildWithPendingCount(part, 7), std::length_error);
    EXPECT_EQ(deepest->getTotalUnitCount(), 1);
    EXPECT_TRUE(deepest->getState()->getParts().empty());
    EXPECT_EQ(part->getDelegate(), receiver.get());
    EXPECT_EQ(part.use_count(), 1);
    deepest->setCompletedUnitCount(1);
    EXPECT_EQ(root->getCompletedUnitCount(), 1);
}

TEST_F(ProgressTest, aWholeThatGetsTooDeepIsRefusedWithAnError)
{
    std::shared_ptr<Progress> whole = std::make_shared<Progress>(1);
    for (int level = 1; level < levelsAtMost; ++level) {
        const auto larger = std::make_shared<Progress>(0);
        larger->addChildWithPendingCount(whole, 1);
        whole = larger;
    }
    const auto larger = std::make_shared<Progress>(0);
    EXPECT_THROW(larger->addChildWithPendingCount(whole, 1), std::length_error);
    EXPECT_EQ(larger->getTotalUnitCount(), 0);
    EXPECT_EQ(whole.use_count(), 1);
}

TEST_F(ProgressTest, whatWasRefusedCountsForNothingLater)
{
    const auto deep = std::make_shared<Progress>(0);
    std::shared_ptr<Progress> deepest = deep;
    for (int level = 1; level < levelsAtMost; ++level) {
        const auto part = std::make_shared<Progress>(1);
        deepest->addChildWithPendingCount(part, 1);
        deepest = part;
    }
    const auto pair = std::make_shared<Progress>(0);
    pair->addChildWithPendingCount(std::make_shared<Progress>(1), 1);
    EXPECT_THROW(deepest->addChildWithPendingCount(pair, 1), std::length_error);
    pair->addChildWithPendingCount(std::make_shared<Progress>(1), 1);
    EXPECT_EQ(pair->getTotalUnitCount(), 2);
}

TEST_F(ProgressTest, aChainOfAnyLengthOverflowsNoStack)
{
    const auto root = std::make_shared<Progress>(0);
    std::shared_ptr<Progress> deepest = root;
    int refused = 0;
    for (int level = 0; level < 100'000; ++level) {
        const auto part = std::make_shared<Progress>(1);
        try {
            deepest->addChildWithPendingCount(part, 1);
            deepest = part;
        } catch (const std::length_error&) {
            ++refused;
        }
    }
    EXPECT_EQ(refused, 100'000 - (levelsAtMost - 1));
    deepest->setCompletedUnitCount(1);
    EXPECT_EQ(root->getCompletedUnitCount(), 1);
}

TEST_F(ProgressTest, theCostOfAChildDoesNotGrowWithTheirNumber)
{
    const auto timeOf = [](int count) {
        const auto parent = std::make_shared<Progress>(0);
        const std::clock_t start = std::clock(); // the processor's time, on Windows the wall's
        for (int i = 0; i < count; ++i)
            parent->addChildWithPendingCount(std::make_shared<Progress>(1), 1);
        return static_cast<double>(std::clock() - start);
    };
    const auto shortestOfThree = [&timeOf](int count) {
        return std::min({timeOf(count), timeOf(count), timeOf(count)});
    };
    const double few = shortestOfThree(2'000);
    EXPECT_LT(shortestOfThree(16'000), 30 * few); // 8 where it is linear, 64 where it is quadratic
}

TEST_F(ProgressTest, aParentBecomesTheOnlyDelegateOfItsChild)
{
    const auto parent = std::make_shared<Progress>(0);
    const auto child = std::make_shared<Progress>(2);
    child->setDelegate(receiver, false);
    parent->addChildWithPendingCount(child, 2);
    EXPECT_EQ(child->getDelegate(), static_cast<ProgressReportingProtocol*>(parent.get()));
    child->setCompletedUnitCount(1);
    EXPECT_TRUE(receiver->messages().empty());
    EXPECT_EQ(parent->getCompletedUnitCount(), 1);
}

TEST_F(ProgressTest, aParentOnTheStackLeavesItsChildrenWithoutADelegate)
{
    Progress parent(0);
    const auto child = std::make_shared<Progress>(2);
    child->setDelegate(receiver, false);
    parent.addChildWithPendingCount(child, 2);
    EXPECT_EQ(child->getDelegate(), nullptr);
    EXPECT_EQ(parent.getTotalUnitCount(), 2);
    child->setCompletedUnitCount(1);
    EXPECT_EQ(parent.getCompletedUnitCount(), 0);
}

TEST_F(ProgressTest, aParentOwnsItsChildrenAndIsHeldWeaklyByThem)
{
    auto parent = std::make_shared<Progress>(0);
    auto child = std::make_shared<Progress>(2);
    parent->addChildWithPendingCount(child, 2);
    EXPECT_EQ(parent.use_count(), 1);
    const std::weak_ptr<Progress> watch = child;
    child.reset();
    EXPECT_FALSE(watch.expired());
    parent.reset();
    EXPECT_TRUE(watch.expired());
}

TEST_F(ProgressTest, aChildOutlivesItsParent)
{
    auto parent = std::make_shared<Progress>(0);
    const auto child = std::make_shared<Progress>(2);
    parent->addChildWithPendingCount(child, 2);
    parent.reset();
    EXPECT_EQ(child->getDelegate(), nullptr);
    child->setCompletedUnitCount(1);
    EXPECT_EQ(child->getCompletedUnitCount(), 1);
}

TEST_F(ProgressTest, theEndOfAProgressIsNotReported)
{
    auto progress = std::make_unique<Progress>(2);
    progress->setDelegate(receiver, false);
    progress.reset();
    EXPECT_TRUE(receiver->messages().empty());
}

TEST_F(ProgressTest, theCountMayBeReadWhileAnotherThreadSetsIt)
{
    Progress progress(10'000);
    std::thread writer([&] {
        for (int i = 0; i < 1000; ++i)
            ++progress;
    });
    int last = 0;
    while (last < 1000) {
        const int count = progress.getCompletedUnitCount();
        ASSERT_GE(count, last);
        last = count;
    }
    writer.join();
}
