#include "TaubinSmoother.h"

#include <cmath>
#include <random>

#include <OpenMesh/Tools/Subdivider/Uniform/MidpointT.hh>
#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>

using namespace Brennic::Core;

namespace {

// A sphere made of an octahedron, each round splitting every triangle into four.
Mesh makeSphere(int rounds)
{
    Mesh mesh;
    const Mesh::Point points[] = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
    std::vector<Mesh::VertexHandle> vertices;
    for (const Mesh::Point& point : points)
        vertices.push_back(mesh.add_vertex(point));
    const std::size_t faces[][3] = {{0, 2, 4}, {2, 1, 4}, {1, 3, 4}, {3, 0, 4},
                                    {2, 0, 5}, {1, 2, 5}, {3, 1, 5}, {0, 3, 5}};
    for (const auto& face : faces)
        mesh.add_face(vertices[face[0]], vertices[face[1]], vertices[face[2]]);
    OpenMesh::Subdivider::Uniform::MidpointT<Mesh> subdivider;
    subdivider.attach(mesh);
    subdivider(static_cast<std::size_t>(rounds));
    subdivider.detach();
    for (const auto vertex : mesh.vertices())
        mesh.set_point(vertex, mesh.point(vertex).normalized());
    return mesh;
}

// A square sheet of 40 by 40 fields whose heights are noise, with a standard deviation of about 0.29.
Mesh makeNoisySheet()
{
    constexpr int side = 41;
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> noise(-0.5F, 0.5F);
    Mesh mesh;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            mesh.add_vertex({static_cast<float>(x), static_cast<float>(y), noise(generator)});
    const auto at = [&mesh](int x, int y) { return mesh.vertex_handle(static_cast<unsigned>(y * side + x)); };
    for (int y = 0; y + 1 < side; ++y)
        for (int x = 0; x + 1 < side; ++x) {
            mesh.add_face(at(x, y), at(x + 1, y), at(x + 1, y + 1));
            mesh.add_face(at(x, y), at(x + 1, y + 1), at(x, y + 1));
        }
    return mesh;
}

double meanRadius(const Mesh& mesh)
{
    double sum = 0;
    for (const auto vertex : mesh.vertices())
        sum += static_cast<double>(mesh.point(vertex).norm());
    return sum / static_cast<double>(mesh.n_vertices());
}

// The standard deviation of the heights inside the border.
double roughness(const Mesh& mesh)
{
    double sum = 0;
    double squares = 0;
    double count = 0;
    for (const auto vertex : mesh.vertices()) {
        if (mesh.is_boundary(vertex))
            continue;
        const auto height = static_cast<double>(mesh.point(vertex)[2]);
        sum += height;
        squares += height * height;
        ++count;
    }
    return std::sqrt(squares / count - sum * sum / count / count);
}

void smooth(Mesh& mesh, int iterations, const LoopOptions& options = {})
{
    TaubinSmoother smoother(mesh);
    for (int i = 0; i < iterations; ++i)
        ASSERT_EQ(smoother.iterate(options), eLoop_Completed);
    smoother.apply(mesh);
}

} // namespace

TEST(TaubinSmoother, noiseGoes)
{
    Mesh mesh = makeNoisySheet();
    const double before = roughness(mesh);
    smooth(mesh, 20);
    EXPECT_LT(roughness(mesh), 0.4 * before);
}

TEST(TaubinSmoother, theSizeStays)
{
    Mesh mesh = makeSphere(4);
    smooth(mesh, 20);
    EXPECT_NEAR(meanRadius(mesh), 1.0, 0.01);
}

TEST(TaubinSmoother, withoutIterationsNothingMoves)
{
    Mesh mesh = makeSphere(2);
    const Mesh::Point before = mesh.point(mesh.vertex_handle(5));
    smooth(mesh, 0);
    EXPECT_EQ(mesh.point(mesh.vertex_handle(5)), before);
}

TEST(TaubinSmoother, oneIterationIsAShrinkingAndAnInflatingStep)
{
    // A pyramid: the tip has four neighbours in the plane, and those are a border.
    Mesh mesh;
    const auto tip = mesh.add_vertex({0, 0, 1});
    const Mesh::VertexHandle base[] = {mesh.add_vertex({1, 0, 0}), mesh.add_vertex({0, 1, 0}),
                                       mesh.add_vertex({-1, 0, 0}), mesh.add_vertex({0, -1, 0})};
    for (std::size_t i = 0; i < 4; ++i)
        mesh.add_face(tip, base[i], base[(i + 1) % 4]);
    smooth(mesh, 1);
    const float afterShrinking = 0.5F;
    const float inflate = -1.0F / 1.9F;
    EXPECT_FLOAT_EQ(mesh.point(tip)[2], afterShrinking * (1.0F - inflate));
}

TEST(TaubinSmoother, theBorderAndLooseVerticesStay)
{
    Mesh mesh;
    const auto a = mesh.add_vertex({0, 0, 0});
    const auto b = mesh.add_vertex({1, 0, 0});
    const auto c = mesh.add_vertex({0, 1, 0});
    const auto loose = mesh.add_vertex({5, 5, 5});
    mesh.add_face(a, b, c);
    smooth(mesh, 10);
    EXPECT_EQ(mesh.point(b), Mesh::Point(1, 0, 0));
    EXPECT_EQ(mesh.point(loose), Mesh::Point(5, 5, 5));
}

TEST(TaubinSmoother, aCancelledIterationMovesNothing)
{
    Mesh mesh = makeSphere(2);
    const Mesh::Point before = mesh.point(mesh.vertex_handle(5));
    LoopOptions options;
    options.progress = std::make_shared<Progress>();
    options.progress->cancel();
    TaubinSmoother smoother(mesh);
    EXPECT_EQ(smoother.iterate(options), eLoop_Cancelled);
    smoother.apply(mesh);
    EXPECT_EQ(mesh.point(mesh.vertex_handle(5)), before);
}
