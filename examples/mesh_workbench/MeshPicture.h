#pragma once
/// \file
/// Draws a shaded mesh into an image, without a GPU.
///
/// All points and triangles are projected first. Then bands of rows are drawn, each by itself: every thread that
/// draws one has the depths of its own rows, and no two write to the same pixel. So the picture is the same however
/// the work is split.
///
/// Threads: every function may be called from any thread.

#include <cstddef>
#include <memory>
#include <vector>

#include <QColor>
#include <QImage>
#include <QQuaternion>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>

#include "MeshShape.h"

/// From where a shape is seen: without perspective, from far away along the z axis.
struct Camera
{
    QQuaternion rotation; ///< of the shape, around the origin
    float zoom = 1;       ///< at 1 a shape fits into the image however it is turned
};

struct MeshColors
{
    QColor background;
    QColor surface; ///< where the light falls straight on it
};

/// A shape as a camera sees it, in pixels.
struct ProjectedMesh
{
    struct Point
    {
        float x = 0;     ///< to the right; the centre of the first pixel is at 0.5
        float y = 0;     ///< down
        float depth = 0; ///< greater is nearer
        float light = 0; ///< 0 to 1
    };
    /// The rows that a triangle may touch: from the first to before the last. None if it is out of sight.
    struct Rows
    {
        int first = 0;
        int last = 0;
    };

    ProjectedMesh(const MeshShape& shape, const Camera& camera, QSize size);

    /// Projects some of the points.
    void projectPoints(std::size_t first, std::size_t last);
    /// Looks where some of the triangles are; after all points have been projected.
    void findRows(std::size_t first, std::size_t last);

    const MeshShape& shape; // borrowed
    const Camera camera;
    const QSize size;
    std::vector<Point> points;
    std::vector<Rows> rows;
};

/// Draws the rows from \p firstRow to before \p lastRow of \p mesh.
/// \param pixels those of the whole image, row after row.
void renderBand(const ProjectedMesh& mesh, const MeshColors& colors, QRgb* pixels, int firstRow, int lastRow);

/// Draws a whole picture on the calling thread and the workers of the class.
/// \param progress cancels it; counts what is done in parts of its own.
/// \param workers the most threads that draw; 0 for as many as there are.
/// Returns a null image if it was cancelled.
QImage renderMesh(const MeshShape& shape, const Camera& camera, QSize size, const MeshColors& colors,
                  const std::shared_ptr<Brennic::Core::Progress>& progress,
                  Brennic::Core::EQualityOfService qos, int workers = 0);
