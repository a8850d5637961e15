/// \file
/// The picture of the mesh in the window: what it shows, and when.

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include <QImage>
#include <QMouseEvent>
#include <QTimer>
#include <QWheelEvent>

#include "BallShape.h"
#include "MeshView.h"
#include "MeshWorkbenchFixture.h"

using Brennic::Testing::serveUntil;

namespace {

std::atomic<std::size_t> mostMemoryAtOnce{std::numeric_limits<std::size_t>::max()};

} // namespace

// As on a machine that has no more.
void* operator new(std::size_t size)
{
    void* const memory = size > mostMemoryAtOnce ? nullptr : std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace {

class MeshViewTest : public MeshWorkbenchTest
{
protected:
    MeshView& view() const { return *window->findChild<MeshView*>("meshView"); }
    bool isFine() const
    {
        return serveUntil([&] { return view().isFine(); });
    }
    // One event, as the mouse's move makes it.
    void drag(const QPoint& from, const QPoint& to)
    {
        const auto send = [&](QEvent::Type type, const QPoint& at, Qt::MouseButtons held) {
            QMouseEvent event(type, at, view().mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
            QCoreApplication::sendEvent(&view(), &event);
        };
        send(QEvent::MouseButtonPress, from, Qt::LeftButton);
        send(QEvent::MouseMove, to, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, to, Qt::NoButton);
    }
};

bool hasSurface(const QImage& image)
{
    const QColor background = image.pixelColor(0, 0);
    return image.pixelColor(image.width() / 2, image.height() / 2) != background;
}

} // namespace

TEST_F(MeshViewTest, theMeshIsShownCoarseFirstAndThenFine)
{
    EXPECT_TRUE(view().picture().isNull());
    std::vector<bool> shown;
    QObject::connect(&view(), &MeshView::pictureShown, window.get(),
                     [&](bool isFine) { shown.push_back(isFine); });
    ASSERT_TRUE(smoothed(demoMesh));
    ASSERT_TRUE(isFine());
    EXPECT_FALSE(shown.front());
    EXPECT_TRUE(shown.back());
    EXPECT_EQ(view().picture().size(), view().contentsRect().size());
    EXPECT_TRUE(hasSurface(view().picture()));
}

TEST_F(MeshViewTest, theMouseTurnsTheMeshAndTheWheelEnlargesIt)
{
    ASSERT_TRUE(smoothed(demoMesh));
    ASSERT_TRUE(isFine());
    const QImage first = view().picture();
    drag({50, 50}, {150, 50});
    EXPECT_FALSE(view().isFine());
    ASSERT_TRUE(isFine());
    EXPECT_NE(view().picture(), first);
    const QQuaternion rotation = view().camera().rotation;
    drag({150, 50}, {150, 90});
    drag({150, 90}, {150, 50});
    EXPECT_NEAR(std::abs(QQuaternion::dotProduct(view().camera().rotation, rotation)), 1, 1e-4)
        << "back again";
    ASSERT_TRUE(isFine());
    const QImage small = view().picture();
    const float zoom = view().camera().zoom;
    QWheelEvent wheel({50, 50}, view().mapToGlobal(QPoint(50, 50)), {}, {0, 120}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&view(), &wheel);
    EXPECT_GT(view().camera().zoom, zoom);
    ASSERT_TRUE(isFine());
    EXPECT_NE(view().picture(), small);
}

TEST_F(MeshViewTest, whatWasTurnedOnTheWayIsSkippedAndTheLastViewIsShown)
{
    ASSERT_TRUE(smoothed(demoMesh));
    ASSERT_TRUE(isFine());
    int shown = 0;
    QObject::connect(&view(), &MeshView::pictureShown, window.get(), [&] { ++shown; });
    Camera camera = view().camera();
    for (int step = 0; step < 1000; ++step) { // no event is served in between
        camera.rotation = QQuaternion::fromAxisAndAngle(0, 1, 0, static_cast<float>(step));
        view().setCamera(camera);
    }
    ASSERT_TRUE(isFine());
    EXPECT_LE(shown, 4) << "one that had begun, one of the last view, and the fine one";
    const QImage last = view().picture();
    view().setCamera(camera);
    ASSERT_TRUE(isFine());
    EXPECT_EQ(view().picture(), last);
}

TEST_F(MeshViewTest, aNewerViewCancelsACoarsePicture)
{
    ASSERT_TRUE(smoothed(demoMesh));
    ASSERT_TRUE(isFine());
    int coarse = 0;
    QObject::connect(&view(), &MeshView::pictureShown, window.get(),
                     [&](bool isFine) { coarse += isFine ? 0 : 1; });
    drag({50, 50}, {150, 50});
    drag({150, 50}, {170, 50});
    ASSERT_TRUE(isFine());
    EXPECT_EQ(coarse, 1);
}

// No worker has time for the fine picture, so it is still to be drawn when the view changes.
TEST_F(MeshViewTest, aNewerViewCancelsAFinePicture)
{
    ASSERT_TRUE(smoothed(demoMesh));
    ASSERT_TRUE(isFine());
    std::vector<std::unique_ptr<Brennic::Testing::BlockingTask>> blocking;
    Brennic::Core::TaskQueue& queue = *Brennic::Core::TaskQueue::getGlobalQueue(Brennic::Core::eQOS_Low);
    for (int i = 0; i < queue.getMaxConcurrency(); ++i) {
        blocking.push_back(std::make_unique<Brennic::Testing::BlockingTask>());
        queue.addTask(blocking.back()->task);
        ASSERT_TRUE(blocking.back()->hasStarted());
    }
    int coarse = 0;
    int fine = 0;
    QObject::connect(&view(), &MeshView::pictureShown, window.get(),
                     [&](bool isFine) { ++(isFine ? fine : coarse); });
    drag({50, 50}, {150, 50});
    bool hasRested =
        false; // timers of a thread end in the order of their times, and the view's rest is shorter
    QTimer::singleShot(1000, window.get(), [&] { hasRested = true; });
    ASSERT_TRUE(serveUntil([&] { return hasRested && coarse == 1; }));
    drag({150, 50}, {170, 50});
    blocking.clear();
    ASSERT_TRUE(isFine());
    EXPECT_EQ(fine, 1);
}

TEST_F(MeshViewTest, aPictureThatThereIsNoMemoryForIsToldOfAndTheNextIsDrawn)
{
    const auto shape = std::make_shared<const MeshShape>(Brennic::Testing::ball(100));
    mostMemoryAtOnce = sizeof(ProjectedMesh::Point) * shape->points.size() - 1;
    view().setShape(shape);
    EXPECT_TRUE(
        serveUntil([&] { return logText().find("there is not enough memory") != std::string::npos; }));
    mostMemoryAtOnce = std::numeric_limits<std::size_t>::max();
    EXPECT_TRUE(view().picture().isNull());
    view().setCamera(view().camera());
    EXPECT_TRUE(isFine());
}

TEST_F(MeshViewTest, theMeshIsShownWhileItIsBeingSmoothed)
{
    ASSERT_TRUE(isSmoothingForLong());
    EXPECT_TRUE(isFine());
    EXPECT_TRUE(window->isRunning());
}

TEST_F(MeshViewTest, picturesAreShownWhileTheViewKeepsChanging)
{
    ASSERT_TRUE(smoothed(demoMesh));
    ASSERT_TRUE(isFine());
    int shown = 0;
    QObject::connect(&view(), &MeshView::pictureShown, window.get(), [&] { ++shown; });
    EXPECT_TRUE(serveUntil([&, step = 0.0F]() mutable {
        Camera camera = view().camera();
        camera.rotation = QQuaternion::fromAxisAndAngle(0, 1, 0, ++step);
        view().setCamera(camera);
        return shown > 3;
    }));
}

TEST_F(MeshViewTest, aPictureFollowsItsPlace)
{
    ASSERT_TRUE(smoothed(demoMesh));
    ASSERT_TRUE(isFine());
    const QSize before = view().picture().size();
    window->resize(window->size() + QSize(100, 100));
    ASSERT_TRUE(serveUntil([&] { return view().isFine() && view().picture().size() != before; }));
    EXPECT_EQ(view().picture().size(), view().contentsRect().size());
}

TEST_F(MeshViewTest, aWindowThatGoesWhileAPictureIsDrawnIsNotHeldUp)
{
    ASSERT_TRUE(smoothed(demoMesh));
    ASSERT_TRUE(isFine());
    drag({50, 50}, {150, 50});
    window.reset();
    EXPECT_TRUE(serveUntil([served = 0]() mutable { return ++served > 50; })); // what was drawn finds no one
}
