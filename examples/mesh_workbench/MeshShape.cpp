#include "MeshShape.h"

#include <algorithm>
#include <cmath>

#include <brn_mesh_kernel/tasks/TaskGroup.h>

using namespace Brennic::Core;

namespace {

std::vector<QVector3D> pointsOf(const Mesh& mesh)
{
    std::vector<QVector3D> points;
    points.reserve(mesh.n_vertices());
    for (const auto vertex : mesh.all_vertices()) {
        const auto& point = mesh.point(vertex);
        points.emplace_back(point[0], point[1], point[2]);
    }
    return points;
}

std::vector<MeshShape::Triangle> trianglesOf(const Mesh& mesh)
{
    std::vector<MeshShape::Triangle> triangles;
    triangles.reserve(mesh.n_faces());
    for (const auto face : mesh.faces()) {
        MeshShape::Triangle triangle{};
        std::size_t corner = 0;
        for (const auto vertex : mesh.fv_range(face))
            triangle.at(corner++) = static_cast<std::uint32_t>(vertex.idx());
        triangles.push_back(triangle);
    }
    return triangles;
}

QVector3D middleOf(const std::vector<QVector3D>& points)
{
    if (points.empty())
        return {};
    QVector3D least = points.front();
    QVector3D most = points.front();
    for (const QVector3D& point : points)
        for (int axis = 0; axis < 3; ++axis) {
            least[axis] = std::min(least[axis], point[axis]);
            most[axis] = std::max(most[axis], point[axis]);
        }
    return least + (most - least) / 2;
}

void fitIntoSphere(std::vector<QVector3D>& points)
{
    const QVector3D middle = middleOf(points);
    float radius = 0;
    for (QVector3D& point : points) {
        point -= middle;
        radius = std::max(radius, point.length());
    }
    if (radius > 0)
        for (QVector3D& point : points)
            point /= radius;
}

// Of the triangles around each point, the large ones counting more.
std::vector<QVector3D> normalsOf(const MeshShape& shape)
{
    std::vector<QVector3D> normals(shape.points.size());
    for (const MeshShape::Triangle& corners : shape.triangles) {
        const QVector3D& origin = shape.points[corners[0]];
        const QVector3D normal =
            QVector3D::crossProduct(shape.points[corners[1]] - origin, shape.points[corners[2]] - origin);
        for (const std::uint32_t corner : corners)
            normals[corner] += normal;
    }
    for (QVector3D& normal : normals) {
        const float length = normal.length(); // normalize() takes the normals of small triangles for nothing
        normal = length > 0 ? normal / length : QVector3D();
    }
    return normals;
}

} // namespace

MeshShape shapeOf(const Mesh& mesh)
{
    MeshShape shape;
    TaskGroup group(eQOS_Normal); // ends before the shape does
    group.dispatch([&] {
        shape.points = pointsOf(mesh);
        fitIntoSphere(shape.points);
    });
    group.dispatch([&] { shape.triangles = trianglesOf(mesh); });
    group.wait();
    shape.normals = normalsOf(shape);
    return shape;
}
