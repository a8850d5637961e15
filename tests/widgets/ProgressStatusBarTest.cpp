#include <brn_mesh_widgets/ProgressStatusBar.h>

#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include <QImage>
#include <QLabel>
#include <QMainWindow>
#include <QProgressBar>
#include <QStatusBar>

#include <brn_mesh_widgets/ProgressModel.h>

#include "widgets/WidgetFixture.h"

using namespace Brennic;
using namespace Brennic::Testing;
using Core::Progress;
using Widgets::ProgressModel;
using Widgets::ProgressStatusBar;

namespace {

class ProgressStatusBarTest : public WidgetFixture
{
protected:
    ProgressStatusBarTest()
    {
        window.statusBar()->addPermanentWidget(widget);
        window.resize(600, 200);
        label = widget->findChild<QLabel*>();
        bar = widget->findChild<QProgressBar*>();
    }

    QMainWindow window;
    ProgressStatusBar* widget = new ProgressStatusBar; // the window's
    QLabel* label = nullptr;
    QProgressBar* bar = nullptr;
};

} // namespace

TEST_F(ProgressStatusBarTest, nothingIsShownWithoutAProgress)
{
    ASSERT_TRUE(showOnDisplay(window));
    EXPECT_FALSE(label->isVisible());
    EXPECT_FALSE(bar->isVisible());
}

TEST_F(ProgressStatusBarTest, theDescriptionAndTheFractionOfTheRootAreShown)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto tree = std::make_shared<Progress>(0, L"Import");
    const auto reading = std::make_shared<Progress>(4, L"Reading");
    tree->addChildWithPendingCount(reading, 100);
    widget->setProgress(tree);
    EXPECT_TRUE(label->isVisible());
    EXPECT_EQ(label->text(), "Import");
    EXPECT_EQ(bar->text(), "0 %");
    std::thread([&] { reading->setCompletedUnitCount(1); }).join();
    EXPECT_TRUE(serveUntil([&] { return bar->text() == "25 %"; }));
    EXPECT_TRUE(bar->isVisible());
}

TEST_F(ProgressStatusBarTest, theBarIsBusyWhileTheTotalIsNotKnown)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto progress = std::make_shared<Progress>(0, L"Searching");
    widget->setProgress(progress);
    EXPECT_EQ(bar->minimum(), bar->maximum());
    const QImage first = bar->grab().toImage();
    EXPECT_TRUE(serveUntil([&] { return bar->grab().toImage() != first; }));
    progress->setTotalUnitCount(10);
    EXPECT_TRUE(serveUntil([&] { return bar->maximum() > bar->minimum(); }));
}

TEST_F(ProgressStatusBarTest, theTimeThatIsLeftIsShownUntilTheEnd)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto progress = std::make_shared<Progress>(1000, L"Import");
    widget->setProgress(progress);
    const QLabel* const timeLeft = widget->findChildren<QLabel*>().at(1);
    EXPECT_FALSE(timeLeft->isVisible());
    progress->setCompletedUnitCount(100);
    EXPECT_TRUE(serveUntil([&] { return timeLeft->isVisible(); }));
    EXPECT_TRUE(timeLeft->text().endsWith(" left")) << timeLeft->text().toStdString();
    const QString before = timeLeft->text();
    EXPECT_TRUE(serveUntil([&] { return timeLeft->text() != before; })) << "without a report";
    progress->setCompletedUnitCount(1000);
    EXPECT_TRUE(serveUntil([&] { return label->text() == "Import: complete"; }));
    EXPECT_FALSE(timeLeft->isVisible());
}

TEST_F(ProgressStatusBarTest, theEndIsToldInPlaceOfTheBar)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto progress = std::make_shared<Progress>(2, L"Smoothing");
    widget->setProgress(progress);
    progress->setCompletedUnitCount(2);
    EXPECT_TRUE(serveUntil([&] { return label->text() == "Smoothing: complete"; }));
    EXPECT_TRUE(label->isVisible());
    EXPECT_FALSE(bar->isVisible());
}

TEST_F(ProgressStatusBarTest, whatGoesBeforeItIsCompleteHasEnded)
{
    ASSERT_TRUE(showOnDisplay(window));
    auto progress = std::make_shared<Progress>(2, L"Smoothing");
    widget->setProgress(progress);
    std::thread([&] { progress.reset(); }).join();
    EXPECT_TRUE(serveUntil([&] { return label->text() == "Smoothing: ended"; }));
    EXPECT_FALSE(bar->isVisible());
}

TEST_F(ProgressStatusBarTest, theBarShowsThePercentageThatTheModelShows)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto tree = std::make_shared<Progress>(0, L"Import");
    const auto reading = std::make_shared<Progress>(1000, L"Reading");
    tree->addChildWithPendingCount(reading, 100);
    ProgressModel model;
    model.setProgress(tree);
    widget->setModel(&model);
    for (int unit = 0; unit < 999; ++unit)
        ++*reading;
    const QModelIndex cell = model.index(0, ProgressModel::ProgressColumn);
    EXPECT_TRUE(serveUntil([&] { return cell.data().toString() == "99 %"; }));
    EXPECT_EQ(bar->text(), "99 %");
}

TEST_F(ProgressStatusBarTest, aCancelIsToldInPlaceOfTheBar)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto progress = std::make_shared<Progress>(0, L"Searching");
    widget->setProgress(progress);
    EXPECT_TRUE(bar->isVisible());
    std::thread([&] { progress->cancel(); }).join();
    EXPECT_TRUE(serveUntil([&] { return label->text() == "Searching: cancelled"; }));
    EXPECT_FALSE(bar->isVisible());
}

TEST_F(ProgressStatusBarTest, aFailureIsToldWithItsTextInOneLine)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto progress = std::make_shared<Progress>(2, L"Smoothing");
    widget->setProgress(progress);
    std::thread([&] { progress->fail(L"the disk\nis full"); }).join();
    EXPECT_TRUE(serveUntil([&] { return label->text() == "Smoothing: failed: the disk is full"; }));
    EXPECT_FALSE(bar->isVisible());
    const auto nameless = std::make_shared<Progress>(2);
    nameless->fail(L"");
    widget->setProgress(nameless);
    EXPECT_EQ(label->text(), "failed");
}

TEST_F(ProgressStatusBarTest, noTextMakesTheWindowWider)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto progress = std::make_shared<Progress>(2, L"Smoothing");
    widget->setProgress(progress);
    const int least = window.minimumSizeHint().width();
    progress->fail(std::wstring(1000, L'x'));
    widget->setProgress(progress);
    EXPECT_EQ(label->text().size(), 1000 + 19);
    EXPECT_LE(window.minimumSizeHint().width(), least);
    EXPECT_EQ(label->toolTip().size(), 1000 + 8); // where it can be read
}

TEST_F(ProgressStatusBarTest, theEndHidesWhatIsShownIfThatIsWanted)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto progress = std::make_shared<Progress>(2, L"Smoothing");
    widget->setAtEnd(ProgressStatusBar::HideAtEnd);
    EXPECT_EQ(widget->atEnd(), ProgressStatusBar::HideAtEnd);
    widget->setProgress(progress);
    EXPECT_TRUE(label->isVisible());
    progress->setCompletedUnitCount(2);
    EXPECT_TRUE(serveUntil([&] { return !label->isVisible() && !bar->isVisible(); }));
    widget->setAtEnd(ProgressStatusBar::ShowStateAtEnd);
    EXPECT_TRUE(label->isVisible());
}

TEST_F(ProgressStatusBarTest, theNextProgressTakesThePlaceOfTheLast)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto first = std::make_shared<Progress>(2, L"Reading");
    const auto second = std::make_shared<Progress>(2, L"Writing");
    first->setCompletedUnitCount(2);
    widget->setProgress(first);
    EXPECT_EQ(label->text(), "Reading: complete");
    widget->setProgress(second);
    EXPECT_EQ(label->text(), "Writing");
    EXPECT_TRUE(bar->isVisible());
    widget->setProgress(nullptr);
    EXPECT_FALSE(label->isVisible());
}

TEST_F(ProgressStatusBarTest, aModelThatAViewShowsIsShownToo)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto progress = std::make_shared<Progress>(4, L"Smoothing");
    auto model = std::make_unique<ProgressModel>();
    widget->setModel(model.get());
    EXPECT_FALSE(label->isVisible());
    model->setProgress(progress);
    EXPECT_EQ(label->text(), "Smoothing");
    EXPECT_TRUE(label->isVisible());
    model.reset();
    EXPECT_FALSE(label->isVisible());
}

TEST_F(ProgressStatusBarTest, aDescriptionIsNoMarkup)
{
    ASSERT_TRUE(showOnDisplay(window));
    const auto progress = std::make_shared<Progress>(4, L"<b>a&b</b>");
    widget->setProgress(progress);
    EXPECT_EQ(label->text(), "<b>a&b</b>");
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
}

TEST_F(ProgressStatusBarTest, aWidgetWithoutAWindowOpensNone)
{
    ProgressStatusBar alone;
    alone.setProgress(std::make_shared<Progress>(4, L"Smoothing"));
    EXPECT_FALSE(alone.isVisible());
}
