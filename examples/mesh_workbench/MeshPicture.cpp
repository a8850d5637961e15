#include "MeshPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <brn_mesh_kernel/tasks/ParallelLoops.h>

using namespace Brennic::Core;

namespace {

constexpr int bandHeight = 16;

using Ramp = std::array<QRgb, 256>; // the surface's colour from no light to all

Ramp rampOf(const QColor& surface)
{
    constexpr double inShadow = 0.15;
    Ramp ramp{};
    for (std::size_t i = 0; i < ramp.size(); ++i) {
        const double part =
            inShadow + (1 - inShadow) * static_cast<double>(i) / static_cast<double>(ramp.size() - 1);
        ramp[i] = qRgb(static_cast<int>(part * surface.red()), static_cast<int>(part * surface.green()),
                       static_cast<int>(part * surface.blue()));
    }
    return ramp;
}

// Twice the area of a triangle; negative the other way round.
double area(const ProjectedMesh::Point& a, const ProjectedMesh::Point& b, double x, double y)
{
    return (static_cast<double>(b.x) - a.x) * (y - a.y) - (static_cast<double>(b.y) - a.y) * (x - a.x);
}

// The pixels whose centres lie between two coordinates, from the first to before the last; within the limit.
struct Pixels
{
    Pixels(float from, float to, int least, int most)
        : first(static_cast<int>(std::ceil(std::clamp<double>(from, least, most) - 0.5))),
          last(static_cast<int>(std::floor(std::clamp<double>(to, least, most) - 0.5)) + 1)
    {
    }

    int first;
    int last;
};

// The rows of a band, with how near what they show is.
class Band
{
public:
    Band(const ProjectedMesh& mesh, QRgb* pixels, int firstRow, int lastRow)
        : m_width(mesh.size.width()),
          m_firstRow(firstRow),
          m_lastRow(lastRow),
          m_pixels(pixels),
          m_depths(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(lastRow - firstRow),
                   -std::numeric_limits<float>::infinity())
    {
    }

    void draw(const ProjectedMesh::Point& a, const ProjectedMesh::Point& b, const ProjectedMesh::Point& c,
              const Ramp& ramp);

private:
    const int m_width;
    const int m_firstRow;
    const int m_lastRow;
    QRgb* const m_pixels;
    std::vector<float> m_depths;
};

// A pixel belongs to a triangle if its centre lies inside or on an edge: of two triangles with an edge in common the
// nearer has it.
void Band::draw(const ProjectedMesh::Point& a, const ProjectedMesh::Point& b, const ProjectedMesh::Point& c,
                const Ramp& ramp)
{
    const double whole = area(a, b, c.x, c.y);
    if (whole == 0)
        return;
    const Pixels columns(std::min({a.x, b.x, c.x}), std::max({a.x, b.x, c.x}), 0, m_width);
    const Pixels rows(std::min({a.y, b.y, c.y}), std::max({a.y, b.y, c.y}), m_firstRow, m_lastRow);
    for (int row = rows.first; row < rows.last; ++row) {
        const std::size_t inBand =
            static_cast<std::size_t>(row - m_firstRow) * static_cast<std::size_t>(m_width);
        const std::size_t inImage = static_cast<std::size_t>(row) * static_cast<std::size_t>(m_width);
        for (int column = columns.first; column < columns.last; ++column) {
            const double x = column + 0.5;
            const double y = row + 0.5;
            const double ofA = area(b, c, x, y) / whole;
            const double ofB = area(c, a, x, y) / whole;
            const double ofC = area(a, b, x, y) / whole;
            if (ofA < 0 || ofB < 0 || ofC < 0)
                continue;
            const auto place = static_cast<std::size_t>(column);
            const auto depth = static_cast<float>(ofA * a.depth + ofB * b.depth + ofC * c.depth);
            if (depth <= m_depths[inBand + place])
                continue;
            m_depths[inBand + place] = depth;
            const double light = std::clamp(ofA * a.light + ofB * b.light + ofC * c.light, 0.0, 1.0);
            m_pixels[inImage + place] =
                ramp[static_cast<std::size_t>(light * static_cast<double>(ramp.size() - 1))];
        }
    }
}

bool isSeen(const ProjectedMesh::Point& point)
{
    return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.depth) &&
           std::isfinite(point.light);
}

} // namespace

ProjectedMesh::ProjectedMesh(const MeshShape& seenShape, const Camera& seenBy, QSize imageSize)
    : shape(seenShape),
      camera(seenBy),
      size(imageSize),
      points(seenShape.points.size()),
      rows(seenShape.triangles.size())
{
}

// The light comes from above the camera, a little from the left. Both sides of a triangle are lit.
void ProjectedMesh::projectPoints(std::size_t first, std::size_t last)
{
    const QVector3D towardsLight = QVector3D(-0.3F, 0.5F, 0.8F).normalized();
    const float scale = camera.zoom * static_cast<float>(std::min(size.width(), size.height())) / 2;
    const float middleX = static_cast<float>(size.width()) / 2;
    const float middleY = static_cast<float>(size.height()) / 2;
    const QMatrix3x3 turned = camera.rotation.toRotationMatrix();
    const auto turn = [&turned](const QVector3D& at) {
        const auto row = [&](int i) {
            return turned(i, 0) * at.x() + turned(i, 1) * at.y() + turned(i, 2) * at.z();
        };
        return QVector3D(row(0), row(1), row(2));
    };
    for (std::size_t i = first; i < last; ++i) {
        const QVector3D point = turn(shape.points[i]);
        const float light = std::abs(QVector3D::dotProduct(turn(shape.normals[i]), towardsLight));
        points[i] = {middleX + scale * point.x(), middleY - scale * point.y(), point.z(), light};
    }
}

void ProjectedMesh::findRows(std::size_t first, std::size_t last)
{
    for (std::size_t i = first; i < last; ++i) {
        const auto& [a, b, c] = shape.triangles[i];
        rows[i] = {};
        if (!isSeen(points[a]) || !isSeen(points[b]) || !isSeen(points[c]))
            continue;
        const auto [top, bottom] = std::minmax({points[a].y, points[b].y, points[c].y});
        const Pixels touched(top, bottom, 0, size.height());
        rows[i] = {touched.first, touched.last};
    }
}

void renderBand(const ProjectedMesh& mesh, const MeshColors& colors, QRgb* pixels, int firstRow, int lastRow)
{
    const Ramp ramp = rampOf(colors.surface);
    const auto width = static_cast<std::size_t>(mesh.size.width());
    std::fill(pixels + static_cast<std::size_t>(firstRow) * width,
              pixels + static_cast<std::size_t>(lastRow) * width, colors.background.rgb());
    Band band(mesh, pixels, firstRow, lastRow);
    for (std::size_t i = 0; i < mesh.rows.size(); ++i) {
        if (mesh.rows[i].last <= firstRow || mesh.rows[i].first >= lastRow)
            continue;
        const auto& [a, b, c] = mesh.shape.triangles[i];
        band.draw(mesh.points[a], mesh.points[b], mesh.points[c], ramp);
    }
}

QImage renderMesh(const MeshShape& shape, const Camera& camera, QSize size, const MeshColors& colors,
                  const std::shared_ptr<Progress>& progress, EQualityOfService qos, int workers)
{
    QImage image(size, QImage::Format_RGB32);
    if (image.isNull())
        return image;
    auto* const pixels = reinterpret_cast<QRgb*>(image.bits());
    ProjectedMesh mesh(shape, camera, size);
    LoopOptions options;
    options.qos = qos;
    options.maxWorkers = workers;
    options.progress = progress;
    const auto isDone = [](ELoopEnd end) { return end == eLoop_Completed; };
    const auto project = [&mesh](std::size_t first, std::size_t last) { mesh.projectPoints(first, last); };
    const auto find = [&mesh](std::size_t first, std::size_t last) { mesh.findRows(first, last); };
    const auto draw = [&](int firstBand, int lastBand) {
        renderBand(mesh, colors, pixels, firstBand * bandHeight,
                   std::min(lastBand * bandHeight, size.height()));
    };
    const int bands = (size.height() + bandHeight - 1) / bandHeight;
    const bool isComplete = isDone(parallelFor(std::size_t{0}, shape.points.size(), project, options)) &&
                            isDone(parallelFor(std::size_t{0}, shape.triangles.size(), find, options)) &&
                            isDone(parallelFor(0, bands, draw, options));
    return isComplete && !progress->isCancelled() ? image : QImage();
}
