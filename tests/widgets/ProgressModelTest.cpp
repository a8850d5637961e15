#include <brn_mesh_widgets/ProgressModel.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QElapsedTimer>
#include <QSignalSpy>

#include "support/Latch.h"
#include "widgets/WidgetFixture.h"

using namespace Brennic;
using namespace Brennic::Testing;
using Core::Progress;
using Widgets::ProgressModel;

namespace {

struct CountingReceiver final : Core::ProgressReportingProtocol
{
    void progressUpdated(Progress*, float, const std::wstring&) override { ++messages; }

    int messages = 0;
};

class ProgressModelTest : public WidgetFixture
{
protected:
    // Fatal: a model that breaks a rule of models ends the test.
    ProgressModelTest() : tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal) {}

    QModelIndex root(int column = 0) const { return model.index(0, column); }
    QModelIndex part(int row, int column = 0) const { return model.index(row, column, root()); }
    QString text(const QModelIndex& index) const { return index.data().toString(); }
    int state(const QModelIndex& index) const { return index.data(ProgressModel::StateRole).toInt(); }
    double fraction(const QModelIndex& index) const
    {
        return index.data(ProgressModel::FractionRole).toDouble();
    }
    bool awaitRefresh(int count = 1)
    {
        return serveUntil([&] { return refreshed.count() >= count; });
    }

    ProgressModel model;
    QAbstractItemModelTester tester;
    QSignalSpy refreshed{&model, &ProgressModel::refreshed};
};

std::shared_ptr<Progress> makeTree()
{
    auto tree = std::make_shared<Progress>(0, L"Import");
    tree->addChildWithPendingCount(std::make_shared<Progress>(10, L"Reading"), 30);
    tree->addChildWithPendingCount(std::make_shared<Progress>(20, L"Building"), 70);
    return tree;
}

// Reports of a part are its own affair, so that threads need not take turns.
std::shared_ptr<Progress> addLonePart(Progress& tree, int units)
{
    auto part = std::make_shared<Progress>(units, L"part");
    tree.addChildWithPendingCount(part, 1);
    part->setDelegate(nullptr, false);
    return part;
}

} // namespace

TEST_F(ProgressModelTest, aModelWithoutAProgressHasNoRows)
{
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.columnCount(), 4);
    EXPECT_FALSE(model.rootIndex().isValid());
    model.setProgress(makeTree());
    model.setProgress(nullptr);
    EXPECT_EQ(model.rowCount(), 0);
}

TEST_F(ProgressModelTest, theRootIsTheOneTopLevelRowAndItsPartsStandInTheirOrder)
{
    const auto tree = makeTree();
    model.setProgress(tree);
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(text(root()), "Import");
    EXPECT_EQ(model.rootIndex(), root());
    ASSERT_EQ(model.rowCount(root()), 2);
    EXPECT_EQ(text(part(0)), "Reading");
    EXPECT_EQ(text(part(1)), "Building");
    EXPECT_EQ(model.rowCount(part(0)), 0);
    EXPECT_EQ(model.parent(part(1, ProgressModel::StateColumn)), root());
}

TEST_F(ProgressModelTest, eachColumnHasItsHeaderAndItsText)
{
    const auto tree = makeTree();
    tree->setCompletedUnitCount(25);
    model.setProgress(tree);
    const QStringList headers{"Work", "Progress", "State", "Units of the whole"};
    for (int column = 0; column < model.columnCount(); ++column)
        EXPECT_EQ(model.headerData(column, Qt::Horizontal).toString(), headers[column]);
    EXPECT_EQ(text(root(ProgressModel::ProgressColumn)), "25 %");
    EXPECT_EQ(text(root(ProgressModel::StateColumn)), "running");
    EXPECT_FALSE(root(ProgressModel::PendingUnitsColumn).data().isValid());
    EXPECT_EQ(part(1, ProgressModel::PendingUnitsColumn).data().toInt(), 70);
}

TEST_F(ProgressModelTest, everyColumnHasTheRolesOfItsRow)
{
    const auto tree = makeTree();
    tree->setCompletedUnitCount(25);
    model.setProgress(tree);
    for (int column = 0; column < model.columnCount(); ++column) {
        EXPECT_EQ(root(column).data(ProgressModel::DescriptionRole).toString(), "Import");
        EXPECT_DOUBLE_EQ(fraction(root(column)), 0.25);
        EXPECT_EQ(root(column).data(ProgressModel::CompletedUnitsRole).toInt(), 25);
        EXPECT_EQ(root(column).data(ProgressModel::TotalUnitsRole).toInt(), 100);
        EXPECT_FALSE(root(column).data(ProgressModel::PendingUnitsRole).isValid());
        EXPECT_EQ(part(0, column).data(ProgressModel::PendingUnitsRole).toInt(), 30);
    }
    EXPECT_EQ(model.roleNames().value(ProgressModel::FractionRole), "fraction");
}

TEST_F(ProgressModelTest, theStateFollowsTheCountAlsoBackwards)
{
    const auto progress = std::make_shared<Progress>(4, L"Smoothing");
    model.setProgress(progress);
    EXPECT_EQ(state(root()), ProgressModel::Waiting);
    EXPECT_EQ(text(root(ProgressModel::StateColumn)), "waiting");
    progress->setCompletedUnitCount(1);
    EXPECT_TRUE(serveUntil([&] { return state(root()) == ProgressModel::Running; }));
    progress->setCompletedUnitCount(4);
    EXPECT_TRUE(serveUntil([&] { return state(root()) == ProgressModel::Complete; }));
    EXPECT_EQ(text(root(ProgressModel::StateColumn)), "complete");
    EXPECT_EQ(text(root(ProgressModel::ProgressColumn)), "100 %");
    progress->setCompletedUnitCount(0);
    EXPECT_TRUE(serveUntil([&] { return state(root()) == ProgressModel::Waiting; }));
}

TEST_F(ProgressModelTest, aTotalThatIsNotKnownIsIndeterminateUntilItIs)
{
    const auto progress = std::make_shared<Progress>(0, L"Searching");
    model.setProgress(progress);
    EXPECT_EQ(state(root()), ProgressModel::Indeterminate);
    progress->setCompletedUnitCount(5);
    EXPECT_TRUE(awaitRefresh(2));
    EXPECT_EQ(state(root()), ProgressModel::Indeterminate);
    EXPECT_EQ(fraction(root()), 0.0);
    EXPECT_EQ(text(root(ProgressModel::ProgressColumn)), "");
    progress->setTotalUnitCount(10); // reported to nobody, and seen all the same
    EXPECT_TRUE(serveUntil([&] { return state(root()) == ProgressModel::Running; }));
    EXPECT_DOUBLE_EQ(fraction(root()), 0.5);
}

TEST_F(ProgressModelTest, aFractionStaysBetweenZeroAndOne)
{
    const auto progress = std::make_shared<Progress>(10);
    progress->setCompletedUnitCount(25);
    model.setProgress(progress);
    EXPECT_EQ(fraction(root()), 1.0);
    progress->setCompletedUnitCount(-5);
    EXPECT_TRUE(serveUntil([&] { return fraction(root()) == 0.0; }));
    EXPECT_EQ(text(root(ProgressModel::ProgressColumn)), "0 %");
}

TEST_F(ProgressModelTest, aPercentageIsRoundedDown)
{
    const auto progress = std::make_shared<Progress>(1000);
    progress->setCompletedUnitCount(999);
    model.setProgress(progress);
    EXPECT_EQ(text(root(ProgressModel::ProgressColumn)), "99 %");
}

TEST_F(ProgressModelTest, everyHundredthIsShownAsWhatItIs)
{
    const auto progress = std::make_shared<Progress>(100);
    for (int percent = 0; percent <= 100; ++percent) {
        progress->setCompletedUnitCount(percent);
        model.setProgress(progress);
        EXPECT_EQ(text(root(ProgressModel::ProgressColumn)), QString("%1 %").arg(percent));
    }
}

TEST_F(ProgressModelTest, theExactFractionIsShownWhereTheCountIsTruncated)
{
    const auto tree = std::make_shared<Progress>(0, L"Import");
    const auto reading = std::make_shared<Progress>(100, L"Reading");
    tree->addChildWithPendingCount(reading, 100);
    model.setProgress(tree);
    for (int i = 0; i < 57; ++i)
        ++*reading;
    EXPECT_TRUE(serveUntil([&] { return text(root(ProgressModel::ProgressColumn)) == "57 %"; }));
    EXPECT_LT(root().data(ProgressModel::CompletedUnitsRole).toInt(), 57);
    for (int i = 57; i < 100; ++i)
        ++*reading;
    EXPECT_TRUE(serveUntil([&] { return text(root(ProgressModel::ProgressColumn)) == "100 %"; }));
    EXPECT_EQ(state(root()), ProgressModel::Complete);
    EXPECT_LT(root().data(ProgressModel::CompletedUnitsRole).toInt(), 100);
}

TEST_F(ProgressModelTest, aChangeOfAPartIsSeenInAllRowsAboveIt)
{
    const auto tree = std::make_shared<Progress>(0, L"Import");
    const auto reading = std::make_shared<Progress>(0, L"Reading");
    tree->addChildWithPendingCount(reading, 50);
    const auto part = addLonePart(*reading, 10); // which reports to nobody
    model.setProgress(tree);
    part->setCompletedUnitCount(5);
    EXPECT_TRUE(serveUntil([&] { return fraction(root()) == 0.5; }));
    EXPECT_EQ(state(root()), ProgressModel::Running);
    part->setTotalUnitCount(20);
    EXPECT_TRUE(serveUntil([&] { return fraction(root()) == 0.25; }));
}

TEST_F(ProgressModelTest, afterACancelNothingRunsOrWaits)
{
    const auto tree = makeTree();
    const auto searching = std::make_shared<Progress>(0, L"Searching");
    const auto loading = std::make_shared<Progress>(1, L"Loading");
    tree->addChildWithPendingCount(searching, 10);
    tree->addChildWithPendingCount(loading, 10);
    ++*loading;
    model.setProgress(tree);
    EXPECT_EQ(state(part(2)), ProgressModel::Indeterminate);
    std::thread([&] { tree->getState()->cancel(); }).join();
    EXPECT_TRUE(serveUntil([&] { return state(root()) == ProgressModel::Cancelled; }));
    for (const int row : {0, 1, 2})
        EXPECT_EQ(text(part(row, ProgressModel::StateColumn)), "cancelled") << row;
    EXPECT_EQ(text(part(3, ProgressModel::StateColumn)), "complete");
    EXPECT_EQ(text(root(ProgressModel::ProgressColumn)), "8 %"); // it stays where it was
}

TEST_F(ProgressModelTest, aCancelledPartStopsNoOther)
{
    const auto tree = makeTree();
    const auto later = std::make_shared<Progress>(4, L"Writing");
    tree->addChildWithPendingCount(later, 10);
    model.setProgress(tree);
    later->cancel();
    EXPECT_TRUE(serveUntil([&] { return state(part(2)) == ProgressModel::Cancelled; }));
    EXPECT_EQ(state(part(0)), ProgressModel::Waiting);
    EXPECT_EQ(state(root()), ProgressModel::Running);
}

TEST_F(ProgressModelTest, aFailureIsToldWithItsText)
{
    const auto tree = makeTree();
    const auto writing = std::make_shared<Progress>(4, L"Writing");
    tree->addChildWithPendingCount(writing, 10);
    model.setProgress(tree);
    EXPECT_EQ(part(2).data(ProgressModel::FailureRole).toString(), "");
    EXPECT_FALSE(part(2).data(Qt::ToolTipRole).isValid());
    std::thread([&] { writing->fail(L"a < b: the disk is full"); }).join();
    EXPECT_TRUE(serveUntil([&] { return state(part(2)) == ProgressModel::Failed; }));
    EXPECT_EQ(text(part(2, ProgressModel::StateColumn)), "failed");
    EXPECT_EQ(part(2).data(ProgressModel::FailureRole).toString(), "a < b: the disk is full");
    EXPECT_EQ(part(2).data(Qt::ToolTipRole).toString(), "failed: a &lt; b: the disk is full");
    EXPECT_EQ(state(root()), ProgressModel::Running); // the work decides what follows
    writing->fail(L"the disk is full");
    EXPECT_TRUE(serveUntil(
        [&] { return part(2).data(ProgressModel::FailureRole).toString() == "the disk is full"; }));
}

TEST_F(ProgressModelTest, whatHostsHaveStoredOfStatesAndRolesKeepsItsMeaning)
{
    EXPECT_EQ(ProgressModel::Ended, 4);
    EXPECT_EQ(ProgressModel::Cancelled, 5);
    EXPECT_EQ(ProgressModel::Failed, 6);
    EXPECT_EQ(ProgressModel::PendingUnitsRole, Qt::UserRole + 6);
    EXPECT_EQ(ProgressModel::FailureRole, Qt::UserRole + 7);
    EXPECT_EQ(model.roleNames().value(ProgressModel::FailureRole), "failure");
    EXPECT_EQ(ProgressModel::RemainingRole, Qt::UserRole + 8);
    EXPECT_EQ(model.roleNames().value(ProgressModel::RemainingRole), "remaining");
}

TEST_F(ProgressModelTest, aDescriptionIsFollowed)
{
    const auto tree = makeTree();
    model.setProgress(tree);
    tree->setDescription(L"Import of \u4e16\u754c");
    EXPECT_TRUE(
        serveUntil([&] { return text(root()) == QString::fromWCharArray(L"Import of \u4e16\u754c"); }));
}

TEST_F(ProgressModelTest, partsThatOtherThreadsAddLaterAppearWithoutAnyReport)
{
    const auto tree = makeTree();
    model.setProgress(tree);
    QSignalSpy inserted(&model, &ProgressModel::rowsInserted);
    std::thread worker([&] {
        const auto writing = std::make_shared<Progress>(0, L"Writing");
        tree->addChildWithPendingCount(writing, 10);
        writing->addChildWithPendingCount(std::make_shared<Progress>(3, L"Header"), 1);
        writing->addChildWithPendingCount(std::make_shared<Progress>(3, L"Body"), 9);
    });
    EXPECT_TRUE(serveUntil([&] { return model.rowCount(part(2)) == 2; }));
    worker.join();
    EXPECT_EQ(text(part(2)), "Writing");
    EXPECT_EQ(text(model.index(0, 0, part(2))), "Header");
    EXPECT_EQ(text(model.index(1, 0, part(2))), "Body");
    EXPECT_GE(inserted.count(), 2);
    EXPECT_EQ(root().data(ProgressModel::TotalUnitsRole).toInt(), 110);
}

TEST_F(ProgressModelTest, aPartBelowALaterPartIsFollowed)
{
    const auto tree = makeTree();
    model.setProgress(tree);
    const auto writing = std::make_shared<Progress>(0, L"Writing");
    tree->addChildWithPendingCount(writing, 100);
    EXPECT_TRUE(serveUntil([&] { return model.rowCount(root()) == 3; }));
    const auto body = std::make_shared<Progress>(4, L"Body");
    writing->addChildWithPendingCount(body, 100);
    EXPECT_TRUE(serveUntil([&] { return model.rowCount(part(2)) == 1; }));
    body->setCompletedUnitCount(2);
    EXPECT_TRUE(serveUntil([&] { return fraction(model.index(0, 0, part(2))) == 0.5; }));
    EXPECT_DOUBLE_EQ(fraction(part(2)), 0.5);
    EXPECT_DOUBLE_EQ(fraction(root()), 0.25);
}

TEST_F(ProgressModelTest, theModelKeepsNoProgressAlive)
{
    auto tree = makeTree();
    const std::weak_ptr<Progress> weak = tree;
    model.setProgress(tree);
    tree.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_F(ProgressModelTest, aTreeThatIsDestroyedElsewhereLeavesItsLastValues)
{
    auto tree = makeTree();
    model.setProgress(tree);
    std::thread([&] {
        tree->setCompletedUnitCount(40);
        tree.reset();
    }).join(); // all of it before the model could look
    EXPECT_TRUE(serveUntil([&] { return state(root()) == ProgressModel::Ended; }));
    EXPECT_EQ(text(root()), "Import");
    EXPECT_EQ(text(root(ProgressModel::StateColumn)), "ended");
    EXPECT_DOUBLE_EQ(fraction(root()), 0.4);
    EXPECT_EQ(state(part(1)), ProgressModel::Ended);
    model.setProgress(std::make_shared<Progress>(5, L"Next"));
    EXPECT_EQ(text(root()), "Next");
    EXPECT_TRUE(serveUntil([&] { return state(root()) == ProgressModel::Ended; })); // nobody kept it
}

TEST_F(ProgressModelTest, whatIsCompleteStaysCompleteWhenItGoes)
{
    auto progress = std::make_shared<Progress>(2, L"Smoothing");
    model.setProgress(progress);
    std::thread([&] {
        progress->setCompletedUnitCount(2);
        progress.reset();
    }).join();
    EXPECT_TRUE(awaitRefresh(2));
    EXPECT_EQ(state(root()), ProgressModel::Complete);
}

TEST_F(ProgressModelTest, theDelegateOfTheHostIsLeftAlone)
{
    const auto first = std::make_shared<CountingReceiver>();
    const auto second = std::make_shared<CountingReceiver>();
    const auto progress = std::make_shared<Progress>(10);
    progress->setDelegate(first, false);
    model.setProgress(progress);
    progress->setCompletedUnitCount(1);
    progress->setDelegate(second, false);
    progress->setCompletedUnitCount(2);
    EXPECT_EQ(first->messages, 1);
    EXPECT_EQ(second->messages, 1);
    EXPECT_EQ(progress->getDelegate(), second.get());
    EXPECT_TRUE(serveUntil([&] { return fraction(root()) == 0.2; }));
}

TEST_F(ProgressModelTest, severalModelsShowOneTree)
{
    const auto tree = makeTree();
    model.setProgress(tree);
    {
        ProgressModel shortLived;
        shortLived.setProgress(tree);
        EXPECT_EQ(shortLived.rowCount(shortLived.rootIndex()), 2);
    }
    ProgressModel other;
    other.setProgress(tree);
    tree->setCompletedUnitCount(50);
    EXPECT_TRUE(serveUntil([&] {
        return fraction(root()) == 0.5 && other.rootIndex().data(ProgressModel::FractionRole) == 0.5;
    }));
}

TEST_F(ProgressModelTest, neighboursThatChangeInOneFrameShareOneSignal)
{
    const auto tree = std::make_shared<Progress>(0);
    std::vector<std::shared_ptr<Progress>> parts;
    for (int i = 0; i < 10; ++i)
        parts.push_back(addLonePart(*tree, 10));
    model.setProgress(tree);
    QSignalSpy changed(&model, &ProgressModel::dataChanged);
    for (int i = 2; i < 8; ++i)
        parts[static_cast<std::size_t>(i)]->setCompletedUnitCount(1);
    EXPECT_TRUE(awaitRefresh(2));
    ASSERT_EQ(changed.count(), 2);
    EXPECT_EQ(changed[0][0].toModelIndex(), root(0)); // whose fraction they change
    EXPECT_EQ(changed[1][0].toModelIndex(), part(2, 0));
    EXPECT_EQ(changed[1][1].toModelIndex(), part(7, 3));
}

TEST_F(ProgressModelTest, aReportThatChangesNothingIsNoChange)
{
    const auto progress = std::make_shared<Progress>(10);
    progress->setCompletedUnitCount(3);
    model.setProgress(progress);
    QSignalSpy changed(&model, &ProgressModel::dataChanged);
    progress->setCompletedUnitCount(3);
    EXPECT_TRUE(awaitRefresh(2));
    EXPECT_EQ(changed.count(), 0);
}

TEST_F(ProgressModelTest, thereIsOneRefreshPerFrameAtMostHoweverFastTheReportsCome)
{
    const auto tree = std::make_shared<Progress>(0);
    std::vector<std::shared_ptr<Progress>> parts;
    for (int i = 0; i < 3; ++i)
        parts.push_back(addLonePart(*tree, 1'000'000'000));
    model.setProgress(tree);
    QElapsedTimer time;
    time.start();
    std::vector<qint64> refreshTimes; // in nanoseconds
    QObject::connect(&model, &ProgressModel::refreshed, [&] { refreshTimes.push_back(time.nsecsElapsed()); });
    QSignalSpy changed(&model, &ProgressModel::dataChanged);

    Latch isEnough;
    std::vector<std::thread> threads;
    for (const auto& part : parts)
        threads.emplace_back([&isEnough, part] {
            for (int unit = 1; !isEnough.isDown(); ++unit)
                part->setCompletedUnitCount(unit);
        });
    EXPECT_TRUE(serveUntil([&] { return refreshTimes.size() >= 20; }));
    isEnough.countDown();
    for (std::thread& thread : threads)
        thread.join();

    for (std::size_t i = 1; i < refreshTimes.size(); ++i)
        EXPECT_GE(refreshTimes[i] - refreshTimes[i - 1], 15'000'000) << "refresh " << i; // Qt counts whole ms
    EXPECT_LE(changed.count(),
              3 * static_cast<int>(refreshTimes.size())); // the root, and two of three neighbours
}
