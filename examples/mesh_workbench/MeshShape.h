#pragma once
/// \file
/// What is drawn of a mesh: a copy that nobody changes any more, so that any thread may read it.

#include <array>
#include <cstdint>
#include <vector>

#include <QVector3D>

#include "Mesh.h"

struct MeshShape
{
    using Triangle = std::array<std::uint32_t, 3>; // indices of points

    std::vector<QVector3D> points;  ///< around the origin, none farther from it than 1
    std::vector<QVector3D> normals; ///< one for each point, of length 1; of length 0 where there is none
    std::vector<Triangle> triangles;
};

/// Moves the mesh to the origin, and scales it to the size that the camera expects.
MeshShape shapeOf(const Mesh& mesh);
