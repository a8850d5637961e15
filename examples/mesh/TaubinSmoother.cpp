#include "TaubinSmoother.h"

namespace {

// The pass band is 1/shrink + 1/inflate = 0.1, the value that Taubin recommends.
constexpr float shrink = 0.5F;
constexpr float inflate = -1.0F / (1.0F / shrink - 0.1F);

} // namespace

TaubinSmoother::TaubinSmoother(const Mesh& mesh)
{
    m_positions.reserve(mesh.n_vertices());
    m_firstNeighbour.reserve(mesh.n_vertices() + 1);
    m_neighbours.reserve(2 * mesh.n_edges());
    for (const auto vertex : mesh.vertices()) {
        m_positions.push_back(mesh.point(vertex));
        m_firstNeighbour.push_back(m_neighbours.size());
        if (!mesh.is_boundary(vertex))
            for (const auto neighbour : mesh.vv_range(vertex))
                m_neighbours.push_back(static_cast<std::size_t>(neighbour.idx()));
    }
    m_firstNeighbour.push_back(m_neighbours.size());
    m_next.resize(m_positions.size());
}

void TaubinSmoother::iterate(const BlockLoop& loop)
{
    step(shrink, loop);
    step(inflate, loop);
}

void TaubinSmoother::apply(Mesh& mesh) const
{
    for (const auto vertex : mesh.vertices())
        mesh.set_point(vertex, m_positions[static_cast<std::size_t>(vertex.idx())]);
}

void TaubinSmoother::step(float factor, const BlockLoop& loop)
{
    loop(m_positions.size(), [this, factor](std::size_t first, std::size_t last) {
        for (std::size_t vertex = first; vertex < last; ++vertex)
            m_next[vertex] = moved(vertex, factor);
    });
    m_positions.swap(m_next);
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
