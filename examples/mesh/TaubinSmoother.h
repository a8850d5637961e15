#pragma once
/// \file
/// Taubin smoothing: a shrinking step and an inflating one in turn, so that noise goes and the volume stays.
///
/// Each step moves every vertex along the mean of its edges, reading the positions of the step before: the
/// result does not depend on the order of vertices, nor on the parts in which they are taken. Vertices on a
/// border stay where they are.

#include <cstddef>
#include <vector>

#include <brn_mesh_kernel/tasks/ParallelLoops.h>

#include "Mesh.h"

class TaubinSmoother
{
public:
    /// Copies the positions and the neighbourhoods of the mesh, at the same time.
    explicit TaubinSmoother(const Mesh& mesh);

    /// One iteration: both steps for all vertices, each in a parallel loop. If a loop is cancelled, the
    /// positions are those of the step before.
    [[nodiscard]] Brennic::Core::ELoopEnd iterate(const Brennic::Core::LoopOptions& options);

    /// The same by \p loop, which is called with the count of vertices and a body that takes the first vertex
    /// and the one behind the last.
    template <typename Loop>
    Brennic::Core::ELoopEnd iterateBy(const Loop& loop);

    /// Writes the positions into the mesh that they came from.
    void apply(Mesh& mesh) const;

private:
    using Point = Mesh::Point;

    // The pass band is 1/shrink + 1/inflate = 0.1, the value that Taubin recommends.
    static constexpr float shrink = 0.5F;
    static constexpr float inflate = -1.0F / (1.0F / shrink - 0.1F);

    void copyPositions(const Mesh& mesh);
    void copyNeighbourhoods(const Mesh& mesh);
    Point moved(std::size_t vertex, float factor) const;

    std::vector<Point> m_positions;
    std::vector<Point> m_next;
    std::vector<std::size_t> m_firstNeighbour; // of each vertex, in m_neighbours; one more at the end
    std::vector<std::size_t> m_neighbours;     // none for vertices that stay
};

template <typename Loop>
Brennic::Core::ELoopEnd TaubinSmoother::iterateBy(const Loop& loop)
{
    for (const float factor : {shrink, inflate}) {
        const auto body = [this, factor](std::size_t first, std::size_t last) {
            for (std::size_t vertex = first; vertex < last; ++vertex)
                m_next[vertex] = moved(vertex, factor);
        };
        if (loop(m_positions.size(), body) != Brennic::Core::eLoop_Completed)
            return Brennic::Core::eLoop_Cancelled;
        m_positions.swap(m_next);
    }
    return Brennic::Core::eLoop_Completed;
}
