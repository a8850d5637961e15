#include <gtest/gtest.h>

#include "MeshFileFixture.h"

namespace {

const std::string vertexElement = "element vertex 3\nproperty float x\nproperty float y\nproperty float z\n";
const std::string faceElement = "element face 1\nproperty list uchar int vertex_indices\n";

// Files that say less usual things than a place and three corners, and one triangle all the same.
class MeshVariantsTest : public MeshFileFixture
{
protected:
    void expectTriangle(const std::string& name, const std::string& bytes)
    {
        const std::filesystem::path path = write(name, bytes);
        ASSERT_EQ(defectOf(path), "");
        EXPECT_EQ(warningOf(path), "");
        const Mesh mesh = loadMesh(path);
        ASSERT_EQ(mesh.n_vertices(), 3U);
        ASSERT_EQ(mesh.n_faces(), 1U);
        const Mesh::Point expected[] = {{0, 0, 0}, {1, 0, 0}, {0, 2, -1}};
        for (const auto vertex : mesh.vertices())
            EXPECT_EQ(mesh.point(vertex), expected[vertex.idx()]);
    }

    static std::string ply(const std::string& elements, const std::string& body)
    {
        return "ply\nformat ascii 1.0\ncomment made by hand\n" + elements + "end_header\n" + body;
    }
};

} // namespace

TEST_F(MeshVariantsTest, otherPlyElementsArePassedOver)
{
    expectTriangle("edge.ply", ply(vertexElement + "element edge 2\nproperty int a\nproperty int b\n" +
                                       "element strip 1\nproperty list uchar int c\n" + faceElement,
                                   "0 0 0\n1 0 0\n0 2 -1\n0 1\n1 2\n2 5 6\n3 0 1 2\n"));
}

TEST_F(MeshVariantsTest, aPlyFaceMayHaveOtherPropertiesBeforeItsCorners)
{
    expectTriangle("flag.ply",
                   ply(vertexElement + "element face 1\nproperty uchar flag\nproperty list uchar float uv\n"
                                       "property list uchar uint vertex_index\nproperty int last\n",
                       "0 0 0\n1 0 0\n0 2 -1\n7 2 .5 .5 3 0 1 2 9\n"));
}

TEST_F(MeshVariantsTest, plyVerticesMayNameTheirAxesInAnyOrder)
{
    expectTriangle("axes.ply", ply("obj_info none\nelement vertex 3\nproperty uchar red\nproperty float z\n"
                                   "property double x\nproperty int y\n" +
                                       faceElement,
                                   "255 0 0 0\n255 0 1 0\n255 -1 0 2\n3 0 1 2\n"));
}

TEST_F(MeshVariantsTest, binaryPlyIsReadInBothByteOrders)
{
    const std::string elements = "element vertex 3\nproperty short x\nproperty char y\nproperty double z\n"
                                 "element face 1\nproperty list ushort ushort vertex_indices\nend_header\n";
    const auto bytes = [](std::initializer_list<int> list) { return std::string(list.begin(), list.end()); };
    const std::string zero(8, '\0');
    expectTriangle("little.ply", "ply\nformat binary_little_endian 1.0\n" + elements + bytes({0, 0, 0}) +
                                     zero + bytes({1, 0, 0}) + zero + bytes({0, 0, 2}) +
                                     bytes({0, 0, 0, 0, 0, 0, -16, -65}) + bytes({3, 0, 0, 0, 1, 0, 2, 0}));
    expectTriangle("big.ply", "ply\nformat binary_big_endian 1.0\n" + elements + bytes({0, 0, 0}) + zero +
                                  bytes({0, 1, 0}) + zero + bytes({0, 0, 2}) +
                                  bytes({-65, -16, 0, 0, 0, 0, 0, 0}) + bytes({0, 3, 0, 0, 0, 1, 0, 2}));
}

TEST_F(MeshVariantsTest, aBinaryStlMayBeginAsATextDoes)
{
    std::string bytes = "solid of one facet";
    bytes.resize(80, ' ');
    bytes += std::string("\1\0\0\0", 4);
    const float numbers[] = {0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 2, -1};
    bytes.append(reinterpret_cast<const char*>(numbers), sizeof(numbers));
    bytes.append(2, '\0');
    expectTriangle("solid.stl", bytes);
}

TEST_F(MeshVariantsTest, offColoursAndNormalsArePassedOver)
{
    expectTriangle("colour.off", "CNOFF # comment\n3 1 0\n0 0 0 0 0 1 255 0 0\n1 0 0 0 0 1 255 0 0\n"
                                 "0 2 -1 0 0 1 255 0 0\n3 0 1 2 255 0 0\n");
    expectTriangle("oneline.off", "OFF 3 1 0\r\n0 0 0\r\n1 0 0\r\n0 2 -1\r\n3 0 1 2\r\n");
}

TEST_F(MeshVariantsTest, objCornersMayNameMoreThanAPlaceAndCountBackwards)
{
    expectTriangle("slash.obj", "mtllib m.mtl\nv 0 0 0\nv +1 0 0\nv 0 2e0 -1.0 # last\nvn 0 0 1\n"
                                "f -3//1 2//1 -1//1 # the only one\n");
}

TEST_F(MeshVariantsTest, binaryOffIsSaidToBeUnsupported)
{
    EXPECT_EQ(defectOf(write("mesh.off", "OFF BINARY\n3 1 0\n")),
              "cannot load " + (directory / "mesh.off").u8string() + ": binary OFF is not supported");
}
