#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>

#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>

#include "conformance/progress/RecordingReceiver.h"
#include "support/AnnouncementCount.h"
#include "support/TaskFixture.h"
#include "support/VirtualSlot.h"

using namespace Brennic;
using namespace Brennic::Testing;
using Core::Progress;
using Core::ProgressReportingProtocol;

namespace {

class ProgressReportingTest : public TaskFixture
{
protected:
    ProgressReportingTest()
    {
        root->addChildWithPendingCount(child, 100);
        root->setDelegate(receiver, false);
    }

    const ProgressMessage& lastMessage()
    {
        messages = receiver->messages();
        return messages.back();
    }

    std::shared_ptr<RecordingReceiver> receiver = std::make_shared<RecordingReceiver>();
    std::shared_ptr<Progress> root = std::make_shared<Progress>(100, L"root");
    std::shared_ptr<Progress> child = std::make_shared<Progress>(10, L"child");
    std::vector<ProgressMessage> messages;
};

/// A progress that sees what its children report.
class WatchfulProgress : public Progress
{
public:
    using Progress::Progress;
    void progressUpdated(Progress* from, float fraction, const std::wstring& description) override
    {
        fractions.push_back(fraction);
        descriptions.push_back(description);
        Progress::progressUpdated(from, fraction, description);
    }

    std::vector<float> fractions;
    std::vector<std::wstring> descriptions;
};

} // namespace

TEST_F(ProgressReportingTest, theProtocolHasTwoVirtualOperationsInTheirOrderAndNoVirtualDestructor)
{
    // Without a virtual destructor the table begins with the first operation.
    EXPECT_EQ(virtualSlot(&ProgressReportingProtocol::progressUpdated), 0U);
    EXPECT_EQ(virtualSlot(&ProgressReportingProtocol::progressCompleted), 1U);
    EXPECT_FALSE(std::has_virtual_destructor_v<ProgressReportingProtocol>);
    EXPECT_EQ(sizeof(ProgressReportingProtocol), sizeof(void*));
}

TEST_F(ProgressReportingTest, theProtocolCanBeCopied)
{
    EXPECT_TRUE(std::is_default_constructible_v<ProgressReportingProtocol>);
    EXPECT_TRUE(std::is_copy_constructible_v<ProgressReportingProtocol>);
    EXPECT_TRUE(std::is_copy_assignable_v<ProgressReportingProtocol>);
}

TEST_F(ProgressReportingTest, theOperationsOfTheProtocolDoNothing)
{
    ProgressReportingProtocol protocol;
    protocol.progressUpdated(nullptr, 0.5F, L"");
    protocol.progressCompleted(nullptr, L"");
}

TEST_F(ProgressReportingTest, aReceiverMayOverrideCompletionAlone)
{
    struct CompletionOnly final : ProgressReportingProtocol
    {
        void progressCompleted(Progress*, const std::wstring&) override { ++completions; }
        int completions = 0;
    };
    const auto completionOnly = std::make_shared<CompletionOnly>();
    Progress progress(2);
    progress.setDelegate(completionOnly, false);
    progress.setCompletedUnitCount(1);
    EXPECT_EQ(completionOnly->completions, 0);
    progress.setCompletedUnitCount(2);
    EXPECT_EQ(completionOnly->completions, 1);
}

TEST_F(ProgressReportingTest, anUpdateNamesTheSenderItsFractionAndItsDescription)
{
    Progress progress(4, L"alone");
    progress.setDelegate(receiver, false);
    progress.setCompletedUnitCount(1);
    const ProgressMessage& message = lastMessage();
    EXPECT_EQ(message.sender, &progress);
    EXPECT_FALSE(message.isCompletion);
    EXPECT_EQ(message.fraction, 0.25F);
    EXPECT_EQ(message.description, L"alone");
}

TEST_F(ProgressReportingTest, aChildsUpdateMovesTheRootWhichReportsInItsOwnName)
{
    child->setCompletedUnitCount(5);
    EXPECT_EQ(root->getCompletedUnitCount(), 50);
    const ProgressMessage& message = lastMessage();
    EXPECT_EQ(message.sender, root.get());
    EXPECT_FALSE(message.isCompletion);
    EXPECT_EQ(message.fraction, 0.5F);
    EXPECT_EQ(message.description, L"root");
    EXPECT_EQ(messages.size(), 1U);
}

TEST_F(ProgressReportingTest, aChildsCompletionMovesTheRootByTheRest)
{
    child->setCompletedUnitCount(5);
    child->setCompletedUnitCount(10);
    EXPECT_EQ(root->getCompletedUnitCount(), 100);
    const ProgressMessage& message = lastMessage();
    EXPECT_EQ(message.sender, root.get());
    EXPECT_TRUE(message.isCompletion);
    EXPECT_EQ(message.description, L"root");
    EXPECT_EQ(messages.size(), 2U);
}

TEST_F(ProgressReportingTest, aSecondCompletionMovesNothingButIsReportedAgain)
{
    child->setCompletedUnitCount(10);
    child->setCompletedUnitCount(10);
    EXPECT_EQ(root->getCompletedUnitCount(), 100);
    EXPECT_TRUE(lastMessage().isCompletion);
    EXPECT_EQ(messages.size(), 2U);
}

TEST_F(ProgressReportingTest, completionIsReportedOnEverySetFromTheTotalOnUntilTheTotalGrows)
{
    Progress progress(2);
    progress.setDelegate(receiver, false);
    progress.setCompletedUnitCount(2);
    progress.setCompletedUnitCount(3);
    progress.setTotalUnitCount(6);
    progress.setCompletedUnitCount(3);
    const std::vector<ProgressMessage> sent = receiver->messages();
    ASSERT_EQ(sent.size(), 3U);
    EXPECT_TRUE(sent[0].isCompletion);
    EXPECT_TRUE(sent[1].isCompletion);
    EXPECT_FALSE(sent[2].isCompletion);
    EXPECT_EQ(sent[2].fraction, 0.5F);
}

TEST_F(ProgressReportingTest, aParentReportsAlsoWhereItsCountStaysTheSame)
{
    const auto parent = std::make_shared<Progress>(100);
    parent->setDelegate(receiver, false);
    const auto part = std::make_shared<Progress>(1000);
    parent->addChildWithPendingCount(part, 10);
    part->setCompletedUnitCount(1);
    EXPECT_EQ(parent->getCompletedUnitCount(), 0);
    EXPECT_EQ(receiver->messages().size(), 1U);
}

TEST_F(ProgressReportingTest, whatTruncationCutsOffIsNeverMadeUp)
{
    const auto parent = std::make_shared<Progress>(10);
    const auto slow = std::make_shared<Progress>(20);
    parent->addChildWithPendingCount(slow, 10);
    for (int i = 1; i <= 20; ++i)
        slow->setCompletedUnitCount(i);
    EXPECT_EQ(parent->getCompletedUnitCount(), 0);
}

TEST_F(ProgressReportingTest, aJumpCountsInFull)
{
    const auto parent = std::make_shared<Progress>(10);
    const auto quick = std::make_shared<Progress>(20);
    parent->addChildWithPendingCount(quick, 10);
    quick->setCompletedUnitCount(20);
    EXPECT_EQ(parent->getCompletedUnitCount(), 10);
}

TEST_F(ProgressReportingTest, fallingProgressMovesTheParentBack)
{
    child->setCompletedUnitCount(5);
    child->setCompletedUnitCount(2);
    EXPECT_EQ(root->getCompletedUnitCount(), 20);
    child->setCompletedUnitCount(0);
    EXPECT_EQ(root->getCompletedUnitCount(), 0);
}

TEST_F(ProgressReportingTest, anOverfullChildMovesItsParentBeyondItsUnitsOnlyByItsCompletion)
{
    child->setCompletedUnitCount(20); // complete, so reported as 1
    EXPECT_EQ(root->getCompletedUnitCount(), 100);
}

TEST_F(ProgressReportingTest, aChildThatStandsForMoreThanABillionUnitsCompletesItsParent)
{
    for (const int units : {1'200'000'000, std::numeric_limits<int>::max()}) {
        const auto parent = std::make_shared<Progress>(0);
        const auto part = std::make_shared<Progress>(2);
        parent->addChildWithPendingCount(part, units);
        part->setCompletedUnitCount(2);
        EXPECT_EQ(parent->getCompletedUnitCount(), units);
        EXPECT_TRUE(parent->isComplete());
    }
}

TEST_F(ProgressReportingTest, aChangeBeyondTheRangeOfCountsStopsAtItsEnd)
{
    const auto parent = std::make_shared<Progress>(0);
    const auto part = std::make_shared<Progress>(1'000'000);
    parent->addChildWithPendingCount(part, 1'000'000'000);
    part->setCompletedUnitCount(-20'000'000);
    EXPECT_EQ(parent->getCompletedUnitCount(), std::numeric_limits<int>::min());
    part->setTotalUnitCount(-1); // so that a large fraction is a report of completion
    part->setCompletedUnitCount(1);
    EXPECT_EQ(parent->getCompletedUnitCount(), -1);
}

TEST_F(ProgressReportingTest, aReportThatIsNoNumberMovesNothing)
{
    root->progressUpdated(child.get(), std::numeric_limits<float>::quiet_NaN(), L"");
    EXPECT_EQ(root->getCompletedUnitCount(), 0);
    EXPECT_EQ(receiver->messages().size(), 1U);
}

TEST_F(ProgressReportingTest, aChildThatItsOwnPointerDoesNotOwnMovesNothing)
{
    Progress onTheStack(2);
    root->addChildWithPendingCount(std::shared_ptr<Progress>(std::shared_ptr<void>(), &onTheStack), 50);
    onTheStack.setCompletedUnitCount(1);
    EXPECT_EQ(root->getCompletedUnitCount(), 0);
    EXPECT_EQ(receiver->messages().size(), 1U);
    onTheStack.setDelegate(nullptr);
}

TEST_F(ProgressReportingTest, anUpdateTravelsThroughAllLevels)
{
    const auto leaf = std::make_shared<Progress>(4);
    child->addChildWithPendingCount(leaf, 10);
    leaf->setCompletedUnitCount(2);
    EXPECT_EQ(child->getCompletedUnitCount(), 5);
    EXPECT_EQ(root->getCompletedUnitCount(), 50);
    EXPECT_EQ(lastMessage().sender, root.get());
}

TEST_F(ProgressReportingTest, severalChildrenAddUp)
{
    const auto parent = std::make_shared<Progress>(0);
    const auto first = std::make_shared<Progress>(2);
    const auto second = std::make_shared<Progress>(4);
    parent->addChildWithPendingCount(first, 30);
    parent->addChildWithPendingCount(second, 70);
    first->setCompletedUnitCount(1);
    second->setCompletedUnitCount(1);
    EXPECT_EQ(parent->getCompletedUnitCount(), 15 + 17); // 17.5, cut
}

TEST_F(ProgressReportingTest, aRootReportsOncePerReportOfAnyChild)
{
    const auto other = std::make_shared<Progress>(1);
    root->addChildWithPendingCount(other, 0);
    child->setCompletedUnitCount(10);
    other->setCompletedUnitCount(1);
    const std::vector<ProgressMessage> sent = receiver->messages();
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_TRUE(sent[0].isCompletion);
    EXPECT_TRUE(sent[1].isCompletion);
}

TEST_F(ProgressReportingTest, aCompletionIsSeenAsAnUpdateToOneByAClassThatOverridesIt)
{
    const auto parent = std::make_shared<WatchfulProgress>(0);
    parent->addChildWithPendingCount(child, 10);
    child->setCompletedUnitCount(5);
    child->setCompletedUnitCount(10);
    EXPECT_EQ(parent->fractions, (std::vector<float>{0.5F, 1.0F}));
    EXPECT_EQ(parent->descriptions, (std::vector<std::wstring>{L"child", L"child"}));
    EXPECT_EQ(parent->getCompletedUnitCount(), 10);
}

TEST_F(ProgressReportingTest, aReportOfAChildThatWasNeverAddedMovesNothingAndHoldsTheChild)
{
    const auto stranger = std::make_shared<Progress>(2);
    stranger->setDelegate(std::shared_ptr<ProgressReportingProtocol>(root), false);
    stranger->setCompletedUnitCount(1);
    EXPECT_EQ(root->getCompletedUnitCount(), 0);
    EXPECT_EQ(receiver->messages().size(), 1U); // reported all the same
    EXPECT_EQ(stranger.use_count(), 2);
}

TEST_F(ProgressReportingTest, aReportOfAChildThatNobodyOwnsMovesNothing)
{
    Progress onTheStack(2);
    onTheStack.setDelegate(std::shared_ptr<ProgressReportingProtocol>(root), false);
    onTheStack.setCompletedUnitCount(1);
    EXPECT_EQ(root->getCompletedUnitCount(), 0);
    EXPECT_EQ(receiver->messages().size(), 1U);
}

TEST_F(ProgressReportingTest, aSynchronousReceiverIsCalledInTheReportingThreadBeforeTheSetterReturns)
{
    std::thread([this] {
        child->setCompletedUnitCount(5);
        ASSERT_EQ(receiver->messages().size(), 1U);
        EXPECT_EQ(receiver->messages()[0].thread, QThread::currentThread());
    }).join();
}

TEST_F(ProgressReportingTest, anAsynchronousReceiverIsCalledInTheGuiThreadLater)
{
    root->setDelegate(receiver, true);
    std::thread([this] { child->setCompletedUnitCount(5); }).join();
    EXPECT_TRUE(receiver->messages().empty());
    ASSERT_TRUE(serveUntil([this] { return !receiver->messages().empty(); }));
    EXPECT_EQ(lastMessage().thread, QThread::currentThread());
    EXPECT_EQ(messages.size(), 1U);
}

TEST_F(ProgressReportingTest, anAsynchronousReceiverIsCalledAtOnceForAReportInTheGuiThread)
{
    root->setDelegate(receiver, true);
    child->setCompletedUnitCount(5);
    EXPECT_EQ(receiver->messages().size(), 1U);
}

TEST_F(ProgressReportingTest, aQObjectReceiverIsCalledInTheGuiThread)
{
    RecordingObject object;
    root->setDelegate(&object);
    std::thread([this] { child->setCompletedUnitCount(5); }).join();
    EXPECT_TRUE(object.messages().empty());
    ASSERT_TRUE(serveUntil([&] { return !object.messages().empty(); }));
    EXPECT_EQ(object.messages()[0].thread, QThread::currentThread());
    EXPECT_EQ(object.messages()[0].sender, root.get());
}

TEST_F(ProgressReportingTest, theMessageKeepsTheFractionAndTheDescriptionOfItsMoment)
{
    root->setDelegate(receiver, true);
    std::thread([this] {
        child->setCompletedUnitCount(5);
        root->setDescription(L"later");
        root->setCompletedUnitCount(60);
    }).join();
    ASSERT_TRUE(serveUntil([this] { return receiver->messages().size() == 2; }));
    const std::vector<ProgressMessage> sent = receiver->messages();
    EXPECT_EQ(sent[0].fraction, 0.5F);
    EXPECT_EQ(sent[0].description, L"root");
    EXPECT_EQ(sent[1].fraction, 0.6F);
    EXPECT_EQ(sent[1].description, L"later");
}

TEST_F(ProgressReportingTest, messagesToAReceiverThatHasGoneAreDropped)
{
    receiver.reset();
    child->setCompletedUnitCount(5);
    EXPECT_EQ(root->getCompletedUnitCount(), 50);
    EXPECT_EQ(root->getDelegate(), nullptr);
}

TEST_F(ProgressReportingTest, everyLevelHandsOneCallableToTheGuiQueue)
{
    const auto leaf = std::make_shared<Progress>(4);
    child->addChildWithPendingCount(leaf, 10);
    const AnnouncementCount announcements(*Core::TaskQueue::getGUIQueue());
    std::thread([&] { leaf->setCompletedUnitCount(1); }).join();
    EXPECT_EQ(announcements.count(), 3);
    EXPECT_TRUE(runAside([] { Core::dispatchSync([] {}, Core::eQOS_GUI); }));
}

TEST_F(ProgressReportingTest, aReceiverMayReportFromInsideAMessage)
{
    struct Relay final : ProgressReportingProtocol
    {
        void progressUpdated(Progress* progress, float, const std::wstring&) override
        {
            if (progress->getCompletedUnitCount() < 3)
                ++*progress;
        }
    };
    const auto relay = std::make_shared<Relay>();
    Progress progress(10);
    progress.setDelegate(relay, false);
    ++progress;
    EXPECT_EQ(progress.getCompletedUnitCount(), 3);
}

TEST_F(ProgressReportingTest, aReceiverMayReleaseTheLastPointerToWhatReports)
{
    struct Releaser final : ProgressReportingProtocol
    {
        void progressUpdated(Progress*, float, const std::wstring&) override { progress.reset(); }
        std::shared_ptr<Progress> progress;
    };
    const auto releaser = std::make_shared<Releaser>();
    for (const bool isOperator : {false, true}) {
        releaser->progress = std::make_shared<Progress>(10, L"a description of some length");
        Progress& progress = *releaser->progress;
        progress.setDelegate(releaser, false);
        if (isOperator)
            EXPECT_EQ(++progress, 1);
        else
            progress.setCompletedUnitCount(1);
        EXPECT_EQ(releaser->progress, nullptr);
    }
}
