#pragma once
/// \file
/// A ball of many triangles.

#include <cmath>
#include <cstdint>

#include "MeshShape.h"

namespace Brennic::Testing {

/// Has 4 * \p rings * \p rings triangles; the radius is 1.
inline MeshShape ball(int rings)
{
    constexpr double pi = 3.14159265358979323846;
    MeshShape shape;
    const int sides = 2 * rings;
    for (int ring = 0; ring <= rings; ++ring)
        for (int side = 0; side < sides; ++side) {
            const double down = pi * ring / rings;
            const double around = 2 * pi * side / sides;
            shape.points.emplace_back(static_cast<float>(std::sin(down) * std::cos(around)),
                                      static_cast<float>(std::cos(down)),
                                      static_cast<float>(std::sin(down) * std::sin(around)));
        }
    shape.normals = shape.points;
    for (int ring = 0; ring < rings; ++ring)
        for (int side = 0; side < sides; ++side) {
            const auto at = [&](int r, int s) { return static_cast<std::uint32_t>(r * sides + s % sides); };
            shape.triangles.push_back({at(ring, side), at(ring + 1, side), at(ring + 1, side + 1)});
            shape.triangles.push_back({at(ring, side), at(ring + 1, side + 1), at(ring, side + 1)});
        }
    return shape;
}

} // namespace Brennic::Testing
