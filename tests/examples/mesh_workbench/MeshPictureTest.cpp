#include "MeshPicture.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>

#include "BallShape.h"

using namespace Brennic::Core;
using Brennic::Testing::ball;
using ::testing::ElementsAre;

namespace {

const MeshColors colors = {Qt::white, QColor(200, 100, 50)};

// In the plane of the picture, lit from the front.
MeshShape flatShape(std::vector<QVector3D> points, std::vector<MeshShape::Triangle> triangles)
{
    MeshShape shape;
    shape.points = std::move(points);
    shape.normals.assign(shape.points.size(), QVector3D(0, 0, 1));
    shape.triangles = std::move(triangles);
    return shape;
}

ProjectedMesh projected(const MeshShape& shape, QSize size, const Camera& camera = {})
{
    ProjectedMesh mesh(shape, camera, size);
    mesh.projectPoints(0, shape.points.size());
    mesh.findRows(0, shape.triangles.size());
    return mesh;
}

// In bands of so many rows.
QImage drawn(const ProjectedMesh& mesh, int bandHeight)
{
    QImage image(mesh.size, QImage::Format_RGB32);
    image.fill(Qt::magenta);
    auto* const pixels = reinterpret_cast<QRgb*>(image.bits());
    for (int row = 0; row < image.height(); row += bandHeight)
        renderBand(mesh, colors, pixels, row, std::min(row + bandHeight, image.height()));
    return image;
}

// A letter for each pixel: '.' is background, 'X' any light.
std::vector<std::string> covered(const QImage& image)
{
    std::vector<std::string> rows;
    for (int y = 0; y < image.height(); ++y) {
        std::string row;
        for (int x = 0; x < image.width(); ++x)
            row += image.pixelColor(x, y) == colors.background ? '.' : 'X';
        rows.push_back(row);
    }
    return rows;
}

QImage render(const MeshShape& shape, QSize size, int workers)
{
    return renderMesh(shape, {QQuaternion::fromEulerAngles(20, 30, 0), 1}, size, colors,
                      std::make_shared<Progress>(1), eQOS_Normal, workers);
}

} // namespace

TEST(MeshPicture, aTriangleHasThePixelsWhoseCentresLieInIt)
{
    const MeshShape shape = flatShape({{-1, 1, 0}, {1, 1, 0}, {-1, -1, 0}}, {{0, 1, 2}});
    EXPECT_THAT(covered(drawn(projected(shape, {6, 6}), 6)),
                ElementsAre("XXXXXX", "XXXXX.", "XXXX..", "XXX...", "XX....", "X....."));
}

TEST(MeshPicture, theCameraTurnsAndEnlarges)
{
    const MeshShape shape = flatShape({{0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {0, 0, 0}}, {{0, 1, 2}, {0, 2, 3}});
    EXPECT_THAT(covered(drawn(projected(shape, {4, 4}), 4)), ElementsAre("..XX", "..XX", "....", "...."));
    const Camera turned = {QQuaternion::fromAxisAndAngle(0, 0, 1, 90), 1};
    EXPECT_THAT(covered(drawn(projected(shape, {4, 4}, turned), 4)),
                ElementsAre("XX..", "XX..", "....", "...."));
    const Camera near = {{}, 0.5F};
    EXPECT_THAT(covered(drawn(projected(shape, {4, 4}, near), 4)),
                ElementsAre("....", "..X.", "....", "...."));
}

TEST(MeshPicture, whatIsNearerHidesTheRestInEitherOrder)
{
    MeshShape shape = flatShape(
        {{-1, 3, 0.5F}, {3, -1, 0.5F}, {-1, -1, 0.5F}, {-1, 3, -0.5F}, {3, -1, -0.5F}, {-1, -1, -0.5F}},
        {{0, 1, 2}, {3, 4, 5}});
    for (std::size_t i = 3; i < 6; ++i)
        shape.normals[i] = {}; // in the dark
    const QRgb light = drawn(projected(shape, {4, 4}), 4).pixel(1, 1);
    EXPECT_GT(qRed(light), 100);
    std::swap(shape.triangles[0], shape.triangles[1]);
    EXPECT_EQ(drawn(projected(shape, {4, 4}), 4).pixel(1, 1), light);
}

TEST(MeshPicture, aSurfaceFacingTheLightIsBrighterThanOneThatIsTurnedAway)
{
    const MeshShape shape = flatShape({{-1, 3, 0}, {3, -1, 0}, {-1, -1, 0}}, {{0, 1, 2}});
    const auto brightness = [&](float degrees) {
        const Camera camera = {QQuaternion::fromAxisAndAngle(1, 0, 0, degrees), 1};
        return qRed(drawn(projected(shape, {8, 8}, camera), 8).pixel(3, 4));
    };
    EXPECT_GT(brightness(-30), brightness(0));
    EXPECT_GT(brightness(0), brightness(30));
    EXPECT_EQ(brightness(0), qRed(drawn(projected(shape, {8, 8}), 8).pixel(3, 4)));
}

TEST(MeshPicture, thereIsNoGapBetweenTriangles)
{
    const MeshShape shape = ball(40);
    for (const int side : {31, 64, 257}) {
        const QImage image =
            drawn(projected(shape, {side, side}, {QQuaternion::fromEulerAngles(10, 20, 30), 1}), 9);
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x) {
                const double fromMiddle = std::hypot(x + 0.5 - side / 2.0, y + 0.5 - side / 2.0);
                if (fromMiddle < 0.98 * side / 2.0) {
                    ASSERT_NE(image.pixelColor(x, y), colors.background) << side << ": " << x << ", " << y;
                }
            }
    }
}

TEST(MeshPicture, bandsOfAnyHeightMakeTheSamePicture)
{
    const MeshShape shape = ball(20);
    const ProjectedMesh mesh = projected(shape, {61, 47});
    const QImage whole = drawn(mesh, 47);
    for (const int height : {1, 2, 7, 46})
        EXPECT_EQ(drawn(mesh, height), whole) << height;
}

TEST(MeshPicture, aBandLeavesTheOtherRowsAlone)
{
    const MeshShape shape = ball(10);
    const ProjectedMesh mesh = projected(shape, {8, 8});
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(Qt::magenta);
    renderBand(mesh, colors, reinterpret_cast<QRgb*>(image.bits()), 3, 5);
    for (const int y : {0, 2, 5, 7})
        for (int x = 0; x < 8; ++x)
            EXPECT_EQ(image.pixelColor(x, y), QColor(Qt::magenta)) << x << ", " << y;
    EXPECT_NE(image.pixelColor(4, 4), QColor(Qt::magenta));
    EXPECT_EQ(image.pixelColor(0, 3).green() > 0, true) << "the background is drawn too";
}

TEST(MeshPicture, pointsThatAreNoNumbersOrFarAwayDoNoHarm)
{
    constexpr float none = std::numeric_limits<float>::quiet_NaN();
    constexpr float endless = std::numeric_limits<float>::infinity();
    constexpr float most = std::numeric_limits<float>::max();
    const MeshShape shape = flatShape({{-1, 1, 0},
                                       {1, 1, 0},
                                       {none, 0, 0},
                                       {0, endless, 0},
                                       {-most, -most, 0},
                                       {1e9F, 1e9F, 0},
                                       {-1e9F, 1e9F, 0},
                                       {0, -1e9F, 0}},
                                      {{0, 1, 2}, {0, 1, 3}, {0, 0, 1}});
    EXPECT_THAT(covered(drawn(projected(shape, {2, 2}), 1)), ElementsAre("..", ".."));
    MeshShape around = shape;
    around.triangles = {{0, 1, 4}, {5, 6, 7}}; // the picture lies in the middle of the second
    EXPECT_THAT(covered(drawn(projected(around, {2, 2}), 1)), ElementsAre("XX", "XX"));
}

TEST(MeshPicture, thePictureIsTheSameForAnyNumberOfWorkers)
{
    const MeshShape shape = ball(60);
    const QImage alone = render(shape, {203, 101}, 1);
    ASSERT_FALSE(alone.isNull());
    for (const int workers : {2, 3, 0})
        EXPECT_EQ(render(shape, {203, 101}, workers), alone) << workers;
}

TEST(MeshPicture, whatIsCancelledIsNotDrawn)
{
    const MeshShape shape = ball(60);
    const auto progress = std::make_shared<Progress>(1);
    progress->cancel();
    EXPECT_TRUE(renderMesh(shape, {}, {200, 200}, colors, progress, eQOS_Normal).isNull());
}

TEST(MeshPicture, whatIsCancelledOnTheWayIsNotDrawnToItsEnd)
{
    struct Canceller final : ProgressReportingProtocol
    {
        void progressUpdated(Progress* progress, float, const std::wstring&) override { progress->cancel(); }
        void progressCompleted(Progress* progress, const std::wstring&) override { progress->cancel(); }
    };
    const MeshShape shape = ball(60);
    const auto progress = std::make_shared<Progress>(1);
    const auto canceller = std::make_shared<Canceller>(); // hears of the points, which come first
    progress->setDelegate(canceller, false);
    EXPECT_TRUE(renderMesh(shape, {}, {200, 200}, colors, progress, eQOS_Normal).isNull());
    EXPECT_GT(progress->getCompletedUnitCount(), 0);
    EXPECT_LE(progress->getCompletedUnitCount(), static_cast<int>(shape.points.size()));
}

TEST(MeshPicture, nothingIsDrawnOfAMeshWithoutTriangles)
{
    EXPECT_THAT(covered(render({}, {2, 2}, 0)), ElementsAre("..", ".."));
    EXPECT_TRUE(render(ball(4), {0, 5}, 0).isNull());
}

TEST(MeshShape, aMeshIsMovedToTheOriginAndScaled)
{
    Mesh mesh;
    const auto a = mesh.add_vertex({10, 0, 0});
    const auto b = mesh.add_vertex({14, 0, 0});
    const auto c = mesh.add_vertex({10, 2, 0});
    mesh.add_face(a, b, c);
    const MeshShape shape = shapeOf(mesh);
    ASSERT_EQ(shape.points.size(), 3U);
    EXPECT_NEAR(shape.points[1].length(), 1, 1e-6);
    EXPECT_NEAR(shape.points[1].x(), 2 / std::sqrt(5.0), 1e-6);
    EXPECT_NEAR((shape.points[0] - shape.points[1]).length(), 4 / std::sqrt(5.0), 1e-6);
    EXPECT_THAT(shape.triangles, ElementsAre(MeshShape::Triangle{0, 1, 2}));
    for (const QVector3D& normal : shape.normals)
        EXPECT_EQ(normal, QVector3D(0, 0, 1));
}
