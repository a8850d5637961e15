#include <brn_mesh_kernel/progress/Progress.h>

#include <cmath>
#include <memory>
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
