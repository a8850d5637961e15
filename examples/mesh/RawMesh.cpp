#include "RawMesh.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double largestFloat = std::numeric_limits<float>::max();

bool isCorner(double number)
{
    return number >= 0 && number < std::numeric_limits<std::int32_t>::max() && std::floor(number) == number;
}

MeshFileDefect missingCorner(std::size_t face)
{
    return MeshFileDefect("face " + std::to_string(face) + " has a corner that does not exist");
}

} // namespace

void RawMesh::addPosition(const std::array<double, 3>& position)
{
    const bool isFinite = std::all_of(position.begin(), position.end(),
                                      [](double number) { return std::abs(number) <= largestFloat; });
    if (!isFinite)
        throw MeshFileDefect("vertex " + std::to_string(positions.size() + 1) + " has no finite position");
    positions.push_back(
        {static_cast<float>(position[0]), static_cast<float>(position[1]), static_cast<float>(position[2])});
}

void RawMesh::addTriangle(const std::array<double, 3>& corners)
{
    if (!std::all_of(corners.begin(), corners.end(), isCorner))
        throw missingCorner(triangles.size() + 1);
    triangles.push_back({static_cast<std::uint32_t>(corners[0]), static_cast<std::uint32_t>(corners[1]),
                         static_cast<std::uint32_t>(corners[2])});
}

void RawMesh::requireTriangle(std::size_t corners) const
{
    if (corners != 3)
        throw MeshFileDefect("face " + std::to_string(triangles.size() + 1) + " has " +
                             std::to_string(corners) + " corners, and only triangles can be smoothed");
}

void RawMesh::requireCornersExist() const
{
    for (std::size_t i = 0; i < triangles.size(); ++i)
        if (*std::max_element(triangles[i].begin(), triangles[i].end()) >= positions.size())
            throw missingCorner(i + 1);
}

bool RawMesh::hasLooseVertices() const
{
    std::vector<bool> isLoose(positions.size(), true);
    for (const Triangle& triangle : triangles)
        for (const std::uint32_t corner : triangle)
            isLoose[corner] = false;
    return std::find(isLoose.begin(), isLoose.end(), true) != isLoose.end();
}
