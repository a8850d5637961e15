#include "MeshFile.h"

#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MeshFileFixture.h"

using namespace Brennic::Testing;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

constexpr const char* tetrahedron = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\n"
                                    "f 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n";

using MeshFileTest = MeshFileFixture;

class MeshFormatTest : public MeshFileTest, public ::testing::WithParamInterface<const char*>
{
protected:
    std::string fileName() const { return std::string("mesh") + GetParam(); }
};

} // namespace

TEST_P(MeshFormatTest, aSavedMeshLoadsTheSame)
{
    Mesh mesh = loadMesh(write("source.obj", tetrahedron));
    mesh.set_point(mesh.vertex_handle(1), {0.1F, 1.0F / 3.0F, -1e-7F});
    saveMesh(mesh, directory / fileName());
    const Mesh loaded = loadMesh(directory / fileName());
    ASSERT_EQ(loaded.n_vertices(), 4U);
    ASSERT_EQ(loaded.n_faces(), 4U);
    for (const auto face : loaded.faces())
        for (auto corner = loaded.cfv_iter(face), expected = mesh.cfv_iter(face); corner.is_valid();
             ++corner, ++expected)
            EXPECT_EQ(loaded.point(*corner), mesh.point(*expected));
}

TEST_P(MeshFormatTest, aFileCutAnywhereIsRefused)
{
    saveMesh(loadMesh(write("source.obj", tetrahedron)), directory / fileName());
    const std::string whole = readFile(directory / fileName());
    const std::size_t lastTriangle = whole.find_last_of("0123456789");
    ASSERT_NE(lastTriangle, std::string::npos);
    const std::size_t firstLine = whole.find('\n') + 1;
    for (std::size_t length = 0; length < lastTriangle; ++length) {
        const bool isObj = fileName() == "mesh.obj";
        const bool endsALine =
            isObj && length >= firstLine && (whole[length - 1] == '\n' || whole[length] == '\n');
        const bool hasTriangle = whole.substr(0, length).find("\nf ") != std::string::npos;
        if (endsALine && hasTriangle)
            continue; // an OBJ file has no counts: a line less is a mesh too
        EXPECT_THAT(defectOf(write("cut" + std::string(GetParam()), whole.substr(0, length))),
                    StartsWith("cannot load "))
            << "cut to " << length << " of " << whole.size() << " bytes";
    }
}

INSTANTIATE_TEST_SUITE_P(AllFormats, MeshFormatTest, ::testing::Values(".obj", ".ply", ".stl", ".off"),
                         [](const auto& format) { return std::string(format.param).substr(1); });

TEST_F(MeshFileTest, aBinaryPlyThatIsCutIsRefused)
{
    std::string bytes =
        "ply\nformat binary_little_endian 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
        "property float z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n";
    const float positions[] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    bytes.append(reinterpret_cast<const char*>(positions), sizeof(positions));
    bytes += '\3';
    const int corners[] = {0, 1, 2};
    bytes.append(reinterpret_cast<const char*>(corners), sizeof(corners));
    EXPECT_EQ(defectOf(write("whole.ply", bytes)), "");
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_THAT(defectOf(write("cut.ply", bytes.substr(0, length))), StartsWith("cannot load "))
            << length;
}

TEST_F(MeshFileTest, aBinaryStlThatIsCutIsRefused)
{
    std::string bytes(80, ' ');
    bytes += std::string("\1\0\0\0", 4);
    const float triangle[] = {0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0};
    bytes.append(reinterpret_cast<const char*>(triangle), sizeof(triangle));
    bytes.append(2, '\0');
    EXPECT_EQ(defectOf(write("whole.stl", bytes)), "");
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_THAT(defectOf(write("cut.stl", bytes.substr(0, length))), StartsWith("cannot load "))
            << length;
}

TEST_F(MeshFileTest, whatIsWrongWithAFileIsSaidInOneSentence)
{
    EXPECT_THAT(defectOf(directory / "missing.obj"), EndsWith("missing.obj: there is no such file"));
    EXPECT_THAT(defectOf(directory.path()), EndsWith(": it is not a file"));
    EXPECT_THAT(defectOf(write("empty.ply", "")), EndsWith("empty.ply: it is empty"));
    EXPECT_THAT(defectOf(write("mesh.txt", "x")),
                EndsWith(": its name ends in none of .obj, .ply, .stl and .off"));
    EXPECT_THAT(defectOf(write("points.obj", "v 0 0 0\n")), EndsWith(": it holds no triangles"));
    EXPECT_THAT(defectOf(write("text.off", "Once upon a time\n")),
                EndsWith(": it does not begin as an OFF file does"));
    EXPECT_THAT(defectOf(write("text.ply", "Once upon a time\n")),
                EndsWith(": it has no complete PLY header"));
    EXPECT_THAT(defectOf(write("line.obj", "v 0 0\nv 1 1 1\n")), EndsWith(": line \"v 0 0\" is incomplete"));
}

TEST_F(MeshFileTest, aFaceThatIsNoTriangleIsNamed)
{
    EXPECT_THAT(defectOf(write("quad.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n")),
                EndsWith("quad.obj: face 1 has 4 corners, and only triangles can be smoothed"));
}

TEST_F(MeshFileTest, aPositionThatIsNoNumberIsRefused)
{
    const std::string text = "OFF\n3 1 0\nnan 0 0\n1 0 0\n0 1 0\n3 0 1 2\n";
    EXPECT_THAT(defectOf(write("nan.off", text)), StartsWith("cannot load "));
}

TEST_F(MeshFileTest, aCornerThatDoesNotExistIsRefused)
{
    EXPECT_THAT(defectOf(write("far.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n")),
                StartsWith("cannot load "));
    EXPECT_THAT(defectOf(write("far.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 9\n")),
                StartsWith("cannot load "));
    EXPECT_THAT(defectOf(write("negative.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 -9\n")),
                StartsWith("cannot load "));
}

TEST_F(MeshFileTest, aLastLineWithoutEndIsRead)
{
    EXPECT_EQ(
        defectOf(write("open.obj", std::string(tetrahedron).substr(0, std::string(tetrahedron).size() - 1))),
        "");
}

TEST_F(MeshFileTest, savingReplacesAFileAndLeavesNothingBeside)
{
    const Mesh mesh = loadMesh(write("source.obj", tetrahedron));
    saveMesh(mesh, directory / "source.obj");
    const auto entries = std::filesystem::directory_iterator(directory.path());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(MeshFileTest, aFailedSaveLeavesNoFile)
{
    const Mesh mesh = loadMesh(write("source.obj", tetrahedron));
    EXPECT_THROW(saveMesh(mesh, directory / "missing/mesh.obj"), std::runtime_error);
    std::filesystem::create_directory(directory / "taken.obj");
    EXPECT_THROW(saveMesh(mesh, directory / "taken.obj"), std::runtime_error);
    const auto entries = std::filesystem::directory_iterator(directory.path());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 2);
}

TEST_F(MeshFileTest, aSaveThatIsStoppedBeforeAnyStepLeavesTheOldFileAndNothingBeside)
{
    struct Stopped
    {
    };
    const Mesh mesh = loadMesh(write("source.obj", tetrahedron));
    const auto old = write("mesh.obj", "the old bytes");
    int stopAt = 1;
    for (bool isSaved = false; !isSaved; ++stopAt) {
        EXPECT_EQ(readFile(old), "the old bytes");
        int step = 0;
        try {
            saveMesh(mesh, old, [&] {
                if (++step == stopAt)
                    throw Stopped();
            });
            isSaved = true;
        } catch (const Stopped&) {
            const auto entries = std::filesystem::directory_iterator(directory.path());
            EXPECT_EQ(std::distance(begin(entries), end(entries)), 2);
        }
    }
    EXPECT_GT(stopAt, 3); // writing, and putting the file in its place
    EXPECT_EQ(loadMesh(old).n_faces(), 4U);
}

TEST_F(MeshFileTest, savingLeavesAnotherLinkToTheOldFileAsItWas)
{
    const Mesh mesh = loadMesh(write("source.obj", tetrahedron));
    const auto old = write("mesh.obj", "the old bytes");
    std::filesystem::create_hard_link(old, directory / "link.obj");
    saveMesh(mesh, old);
    EXPECT_EQ(readFile(directory / "link.obj"), "the old bytes");
    EXPECT_EQ(loadMesh(old).n_faces(), 4U);
}

TEST_F(MeshFileTest, aLastCornerCutToAnotherIsNoticedByTheVerticesWithoutTriangle)
{
    std::string text;
    for (int i = 0; i < 12; ++i)
        text += "v " + std::to_string(i) + " " + std::to_string(i * i) + " 0\n";
    text += "f 1 2 3\nf 4 5 6\nf 7 8 9\nf 10 11 3\n";
    EXPECT_EQ(defectOf(write("whole.obj", text + "f 1 2 12")), "");
    EXPECT_THAT(defectOf(write("cut.obj", text + "f 1 2 1")), EndsWith("cut.obj: it is cut short"));
    EXPECT_EQ(defectOf(write("loose.obj", text + "f 1 2 1\n")), "");
}

TEST_F(MeshFileTest, aVertexWithoutTriangleInABinaryFileIsNoSignOfACut)
{
    std::string bytes =
        "ply\nformat binary_big_endian 1.0\nelement vertex 4\nproperty char x\nproperty char y\n"
        "property char z\nelement face 1\nproperty list uchar uchar vertex_indices\nend_header\n";
    bytes += std::string("\0\0\0\1\0\0\0\1\0\0\0\1", 12) + std::string("\3\0\1\2", 4);
    EXPECT_EQ(defectOf(write("loose.ply", bytes)), "");
}

TEST_F(MeshFileTest, aTriangleWithEqualCornersIsLeftOutWithAWarning)
{
    const auto path = write("thin.obj", std::string(tetrahedron) + "f 1 2 2\n");
    EXPECT_THAT(warningOf(path), EndsWith("thin.obj: triangles with equal corners were left out: 1"));
    EXPECT_EQ(loadMesh(path).n_faces(), 4U);
}

TEST_F(MeshFileTest, doubledVerticesAreToldInAWarning)
{
    const auto path = write("fin.obj", std::string(tetrahedron) + "v 2 2 2\nf 1 2 5\n");
    EXPECT_THAT(warningOf(path),
                EndsWith("fin.obj: vertices were doubled where triangles cannot be connected: 3"));
}

TEST_F(MeshFileTest, aMeshAsTheFileSaysItIsLoadedWithoutWarning)
{
    EXPECT_EQ(warningOf(write("whole.obj", tetrahedron)), "");
}
