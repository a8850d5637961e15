#include "TaubinSmoother.h"

#include <brn_mesh_kernel/tasks/TaskGroup.h>

using namespace Brennic::Core;

TaubinSmoother::TaubinSmoother(const Mesh& mesh)
{
    TaskGroup group(eQOS_Normal);
    group.dispatch([this, &mesh] { copyPositions(mesh); });
    group.dispatch([this, &mesh] { copyNeighbourhoods(mesh); });
    group.wait();
}

void TaubinSmoother::copyPositions(const Mesh& mesh)
{
    m_positions.reserve(mesh.n_vertices());
    for (const auto vertex : mesh.vertices())
        m_positions.push_back(mesh.point(vertex));
    m_next.resize(m_positions.size());
}

void TaubinSmoother::copyNeighbourhoods(const Mesh& mesh)
{
    m_firstNeighbour.reserve(mesh.n_vertices() + 1);
    m_neighbours.reserve(2 * mesh.n_edges());
    for (const auto vertex : mesh.vertices()) {
        m_firstNeighbour.push_back(m_neighbours.size());
        if (!mesh.is_boundary(vertex))
            for (const auto neighbour : mesh.vv_range(vertex))
                m_neighbours.push_back(static_cast<std::size_t>(neighbour.idx()));
    }
    m_firstNeighbour.push_back(m_neighbours.size());
}

ELoopEnd TaubinSmoother::iterate(const LoopOptions& options)
{
    return iterateBy([&options](std::size_t count, const auto& body) {
        return parallelFor(std::size_t{0}, count, body, options);
    });
}

void TaubinSmoother::apply(Mesh& mesh) const
{
    for (const auto vertex : mesh.vertices())
        mesh.set_point(vertex, m_positions[static_cast<std::size_t>(vertex.idx())]);
}

TaubinSmoother::Point TaubinSmoother::moved(std::size_t vertex, float factor) const
{
    const std::size_t begin = m_firstNeighbour[vertex];
    const std::size_t end = m_firstNeighbour[vertex + 1];
    const Point& position = m_positions[vertex];
    if (begin == end)
        return position;
    Point sum(0.0F, 0.0F, 0.0F);
    for (std::size_t i = begin; i < end; ++i)
        sum += m_positions[m_neighbours[i]];
    const Point mean = sum / static_cast<float>(end - begin);
    return position + (mean - position) * factor;
}
