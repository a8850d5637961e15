#pragma once
/// \file
/// Taubin smoothing: a shrinking step and an inflating one in turn, so that noise goes and the volume stays.
///
/// Each step moves every vertex along the mean of its edges, reading the positions of the step before: the
/// result does not depend on the order of vertices, nor on the blocks in which they are taken. Vertices on a
/// border stay where they are.

#include <cstddef>
#include <vector>

#include "BlockLoop.h"
#include "Mesh.h"

class TaubinSmoother
{
public:
    /// Copies the positions and the neighbourhoods of the mesh.
    explicit TaubinSmoother(const Mesh& mesh);

    /// One iteration: both steps for all vertices, each in blocks.
    void iterate(const BlockLoop& loop);

    /// Writes the positions into the mesh that they came from.
    void apply(Mesh& mesh) const;

private:
    using Point = Mesh::Point;

    void step(float factor, const BlockLoop& loop);
    Point moved(std::size_t vertex, float factor) const;

    std::vector<Point> m_positions;
    std::vector<Point> m_next;
    std::vector<std::size_t> m_firstNeighbour; // of each vertex, in m_neighbours; one more at the end
    std::vector<std::size_t> m_neighbours;     // none for vertices that stay
};
