#pragma once
/// \file
/// What a mesh file says, before it is a mesh. The readers of the formats fill it, and refuse files that hold less
/// or other than they promise: nothing but the bytes that are there makes a file's reader allocate or loop.

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

/// What is wrong with a file, in words that follow "cannot load <path>: ".
struct MeshFileDefect : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

constexpr const char* cutShort = "it is cut short";

struct RawMesh
{
    using Position = std::array<float, 3>;
    using Triangle = std::array<std::uint32_t, 3>;

    std::vector<Position> positions;
    std::vector<Triangle> triangles;
    bool isLastLineOpen = false; ///< true for text whose last line is not ended: its last number may be cut

    /// Throws `MeshFileDefect` unless the numbers are finite as floats.
    void addPosition(const std::array<double, 3>& position);

    /// Throws `MeshFileDefect` if a corner is none that a mesh can have.
    void addTriangle(const std::array<double, 3>& corners);

    /// Throws `MeshFileDefect` if a face with so many corners, the next one to come, is no triangle.
    void requireTriangle(std::size_t corners) const;

    /// Throws `MeshFileDefect` if a triangle has a corner without a position.
    void requireCornersExist() const;

    /// Tells whether a position is no triangle's corner. All corners must exist.
    bool hasLooseVertices() const;
};
