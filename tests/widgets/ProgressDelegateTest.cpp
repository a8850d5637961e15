#include <brn_mesh_widgets/ProgressDelegate.h>

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QHeaderView>
#include <QImage>
#include <QPaintEvent>
#include <QStandardItemModel>
#include <QTreeView>

#include <brn_mesh_widgets/ProgressModel.h>

#include "widgets/WidgetFixture.h"

using namespace Brennic;
using namespace Brennic::Testing;
using Core::Progress;
using Widgets::ProgressDelegate;
using Widgets::ProgressModel;

namespace {

class PaintedRegions : public QObject
{
public:
    explicit PaintedRegions(QObject* widget) { widget->installEventFilter(this); }

    std::vector<QRect> rects;

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            rects.push_back(static_cast<QPaintEvent*>(event)->region().boundingRect());
        return false;
    }
};

class ProgressDelegateTest : public WidgetFixture
{
protected:
    ProgressDelegateTest()
    {
        view.setModel(&model);
        view.setItemDelegateForColumn(ProgressModel::ProgressColumn, &delegate);
        view.resize(700, 200);
        view.header()->setStretchLastSection(false);
        view.setColumnWidth(ProgressModel::ProgressColumn, 300);
    }

    void show(const std::shared_ptr<Progress>& progress)
    {
        model.setProgress(progress);
        ASSERT_TRUE(showOnDisplay(view));
    }

    QRect cellRect() const { return view.visualRect(model.index(0, ProgressModel::ProgressColumn)); }
    QImage grabCell() { return view.viewport()->grab(cellRect()).toImage(); }

    // How many pixels of a line above the text differ between a bar and an empty one.
    int filledPixels(const std::shared_ptr<Progress>& progress, int units)
    {
        progress->setCompletedUnitCount(0);
        model.setProgress(progress);
        const QImage empty = grabCell();
        progress->setCompletedUnitCount(units);
        model.setProgress(progress);
        const QImage filled = grabCell();
        int pixels = 0;
        for (int x = 0; x < empty.width(); ++x)
            pixels += empty.pixel(x, 5) != filled.pixel(x, 5) ? 1 : 0;
        return pixels;
    }

    // Serves events for a while in which nothing is to happen.
    static void serveFor(qint64 milliseconds)
    {
        QElapsedTimer time;
        time.start();
        EXPECT_TRUE(serveUntil([&] { return time.elapsed() >= milliseconds; }));
    }

    ProgressModel model;
    ProgressDelegate delegate;
    QTreeView view;
};

} // namespace

TEST_F(ProgressDelegateTest, aBarIsFilledAsFarAsItsFraction)
{
    const auto progress = std::make_shared<Progress>(100, L"Smoothing");
    show(progress);
    const int width = cellRect().width();
    ASSERT_EQ(width, 300);
    EXPECT_NEAR(filledPixels(progress, 25), width / 4, 8);
    EXPECT_NEAR(filledPixels(progress, 75), width * 3 / 4, 8);
    EXPECT_NEAR(filledPixels(progress, 100), width, 8);
    EXPECT_EQ(filledPixels(progress, 0), 0);
}

TEST_F(ProgressDelegateTest, aBarFollowsTheReports)
{
    const auto progress = std::make_shared<Progress>(100, L"Smoothing");
    show(progress);
    const QImage before = grabCell();
    progress->setCompletedUnitCount(50);
    EXPECT_TRUE(serveUntil([&] { return grabCell() != before; }));
    EXPECT_FALSE(delegate.isAnimating());
}

TEST_F(ProgressDelegateTest, anIndeterminateBarMoves)
{
    const auto progress = std::make_shared<Progress>(0, L"Searching");
    show(progress);
    EXPECT_TRUE(serveUntil([&] { return delegate.isAnimating(); }));
    const QImage first = grabCell();
    QImage second;
    EXPECT_TRUE(serveUntil([&] { return (second = grabCell()) != first; }));
    EXPECT_TRUE(serveUntil([&] { return grabCell() != second; }));
}

TEST_F(ProgressDelegateTest, onlyTheCellsThatMoveAreDrawnAgain)
{
    const auto tree = std::make_shared<Progress>(0, L"Import");
    tree->addChildWithPendingCount(std::make_shared<Progress>(0, L"Searching"), 1);
    show(tree);
    view.expandAll();
    const QModelIndex moving = model.index(0, ProgressModel::ProgressColumn, model.rootIndex());
    EXPECT_TRUE(serveUntil([&] { return delegate.isAnimating(); }));
    serveFor(100); // the window itself is drawn by then
    const PaintedRegions painted(view.viewport());
    EXPECT_TRUE(serveUntil([&] { return painted.rects.size() >= 5; }));
    for (const QRect& rect : painted.rects)
        EXPECT_TRUE(view.visualRect(moving).contains(rect));
}

TEST_F(ProgressDelegateTest, theAnimationStopsWhenTheTotalIsKnown)
{
    const auto progress = std::make_shared<Progress>(0, L"Searching");
    show(progress);
    EXPECT_TRUE(serveUntil([&] { return delegate.isAnimating(); }));
    progress->setTotalUnitCount(10);
    EXPECT_TRUE(serveUntil([&] { return !delegate.isAnimating(); }));
    serveFor(50);
    const PaintedRegions painted(view.viewport());
    serveFor(200);
    EXPECT_EQ(painted.rects.size(), 0U);
}

TEST_F(ProgressDelegateTest, whatWasCancelledStandsStillAndSaysSo)
{
    const auto progress = std::make_shared<Progress>(0, L"Searching");
    show(progress);
    EXPECT_TRUE(serveUntil([&] { return delegate.isAnimating(); }));
    progress->cancel();
    EXPECT_TRUE(serveUntil([&] { return !delegate.isAnimating(); }));
    const QImage cancelled = grabCell();
    serveFor(100);
    EXPECT_EQ(grabCell(), cancelled);
    const auto empty = std::make_shared<Progress>(0, L"Searching");
    empty->fail(L"");
    model.setProgress(empty);
    EXPECT_NE(grabCell(), cancelled); // another word
}

TEST_F(ProgressDelegateTest, theBarOfWorkThatHasStoppedIsAsFarAndOfAnotherColour)
{
    const auto progress = std::make_shared<Progress>(100, L"Smoothing");
    show(progress);
    const int width = filledPixels(progress, 60);
    const QRgb running = grabCell().pixel(cellRect().width() / 3, cellRect().height() / 2);
    progress->cancel();
    EXPECT_NEAR(filledPixels(progress, 60), width, 2);
    EXPECT_NE(grabCell().pixel(cellRect().width() / 3, cellRect().height() / 2), running);
}

TEST_F(ProgressDelegateTest, theAnimationStopsWhileTheViewIsHidden)
{
    const auto progress = std::make_shared<Progress>(0, L"Searching");
    show(progress);
    EXPECT_TRUE(serveUntil([&] { return delegate.isAnimating(); }));
    view.hide();
    EXPECT_TRUE(serveUntil([&] { return !delegate.isAnimating(); }));
    view.show();
    EXPECT_TRUE(serveUntil([&] { return delegate.isAnimating(); }));
}

TEST_F(ProgressDelegateTest, theAnimationStopsWhenTheBarIsScrolledOutOfSightAndGoesOnWhenItIsBack)
{
    const auto tree = std::make_shared<Progress>(0, L"Import");
    const auto searching = std::make_shared<Progress>(0, L"Searching");
    tree->addChildWithPendingCount(searching, 1);
    for (int i = 0; i < 50; ++i)
        tree->addChildWithPendingCount(std::make_shared<Progress>(5, L"part"), 1);
    show(tree);
    view.expandAll();
    EXPECT_TRUE(serveUntil([&] { return delegate.isAnimating(); }));
    view.scrollToBottom();
    EXPECT_TRUE(serveUntil([&] { return !delegate.isAnimating(); }));
    view.scrollToTop();
    EXPECT_TRUE(serveUntil([&] { return delegate.isAnimating(); }));
}

TEST_F(ProgressDelegateTest, aViewMayGoWhileItsBarsMove)
{
    const auto progress = std::make_shared<Progress>(0, L"Searching");
    {
        QTreeView passing;
        passing.setModel(&model);
        passing.setItemDelegateForColumn(ProgressModel::ProgressColumn, &delegate);
        model.setProgress(progress);
        ASSERT_TRUE(showOnDisplay(passing));
        EXPECT_TRUE(serveUntil([&] { return delegate.isAnimating(); }));
    }
    EXPECT_TRUE(serveUntil([&] { return !delegate.isAnimating(); }));
}

TEST_F(ProgressDelegateTest, cellsOfOtherModelsAreDrawnAsUsual)
{
    QStandardItemModel other(1, 2);
    other.setItem(0, 1, new QStandardItem("text"));
    view.setModel(&other); // not on the display, where it would get the focus meanwhile
    const QRect rect = view.visualRect(other.index(0, 1));
    const QImage ours = view.viewport()->grab(rect).toImage();
    view.setItemDelegateForColumn(ProgressModel::ProgressColumn, nullptr);
    EXPECT_EQ(ours, view.viewport()->grab(rect).toImage());
    EXPECT_FALSE(delegate.isAnimating());
}
