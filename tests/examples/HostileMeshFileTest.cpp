#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MeshFileFixture.h"
#include "ObjReader.h"
#include "support/Sanitizers.h"

using ::testing::EndsWith;
using ::testing::HasSubstr;

namespace {

const std::string vertexProperties = "property float x\nproperty float y\nproperty float z\n";
const std::string faceElement = "element face 1\nproperty list uchar int vertex_indices\nend_header\n";
const std::string triangle = "0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n";
const std::string plyStart = "ply\nformat ascii 1.0\n";

class HostileMeshFileTest : public MeshFileFixture
{
protected:
    std::string defectOfOff(const std::string& text) { return defectOf(write("mesh.off", text)); }
    std::string defectOfPly(const std::string& bytes) { return defectOf(write("mesh.ply", bytes)); }
};

} // namespace

TEST_F(HostileMeshFileTest, anOffFaceWithAnImpossibleCountIsRefused)
{
    const std::string vertices = "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n";
    for (const std::string count : {"300000000000", "18446744073709551615", "0", "4", "-3", "3.0", "x"})
        EXPECT_THAT(defectOfOff(vertices + count + " 0 1 2\n"),
                    EndsWith(": line \"" + count + " 0 1 2\" has an impossible count"));
    EXPECT_THAT(defectOfOff(vertices + "2 0 1\n"), HasSubstr("face 1 has 2 corners"));
}

TEST_F(HostileMeshFileTest, offCountsThatNoFileHasAreRefused)
{
    EXPECT_THAT(defectOfOff("OFF\n18446744073709551615 1 0\n" + triangle),
                EndsWith(": line \"18446744073709551615 1 0\" has an impossible count"));
    EXPECT_THAT(defectOfOff("OFF 3 -1 0\n" + triangle), HasSubstr("has an impossible count"));
    EXPECT_THAT(defectOfOff("OFF\n2000000000 1 0\n" + triangle), EndsWith(": it is cut short"));
    EXPECT_THAT(defectOfOff("OFF\n3 2000000000 0\n" + triangle), EndsWith(": it is cut short"));
}

TEST_F(HostileMeshFileTest, aValueThatIsNoNumberIsRefused)
{
    EXPECT_THAT(defectOfOff("OFF\n3 1 0\n0 zero 0\n1 0 0\n0 1 0\n3 0 1 2\n"),
                EndsWith(": line \"0 zero 0\" holds something but numbers"));
    EXPECT_THAT(defectOfOff("OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 two\n"),
                EndsWith(": line \"3 0 1 two\" holds something but numbers"));
    EXPECT_THAT(defectOf(write("mesh.obj", "v 0 0 0\nv 1 0 0\nv 0 1e99 0\nf 1 2 3\n")),
                EndsWith(": vertex 3 has no finite position"));
}

TEST_F(HostileMeshFileTest, aCornerOutOfRangeNamesItsFace)
{
    const std::string vertices = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    for (const std::string corner : {"0", "4", "-4", "3000000000", "-99999999999999999999", "1.5"})
        EXPECT_THAT(defectOf(write("mesh.obj", vertices + "f 1 2 " + corner + "\n")),
                    EndsWith(": face 2 has a corner that does not exist"))
            << corner;
}

TEST_F(HostileMeshFileTest, aLineIsQuotedWithoutItsControlCharacters)
{
    EXPECT_THAT(defectOf(write("mesh.obj", "v 0 \x1b[2J\n")), EndsWith(": line \"v 0 ?[2J\" is incomplete"));
}

TEST_F(HostileMeshFileTest, aPlyPropertyBeforeTheFirstElementIsRefused)
{
    EXPECT_THAT(defectOfPly(plyStart + "property float x\nelement vertex 3\n" + vertexProperties +
                            faceElement + triangle),
                EndsWith(": line \"property float x\" does not belong into a PLY header"));
    EXPECT_THAT(defectOfPly(plyStart + "elment vertex 3\n" + vertexProperties + faceElement + triangle),
                EndsWith(": line \"elment vertex 3\" does not belong into a PLY header"));
}

TEST_F(HostileMeshFileTest, aPlyFormatIsOneOfThree)
{
    const std::string rest = "element vertex 3\n" + vertexProperties + faceElement + triangle;
    for (const std::string format : {"format binary_big_endian inf.0", "format ascii 1ement vertex 4",
                                     "format ascii 2.0", "format asci 1.0", "element edge 1"})
        EXPECT_THAT(defectOfPly("ply\n" + format + "\n" + rest),
                    EndsWith(": line \"" + format + "\" names an unknown format"));
}

TEST_F(HostileMeshFileTest, aPlyCountThatNoFileHasIsRefused)
{
    const std::string rest = vertexProperties + faceElement + triangle;
    for (const std::string count : {"4000000000000", "100000000000", "-1", "three"})
        EXPECT_THAT(defectOfPly(plyStart + "element vertex " + count + "\n" + rest),
                    HasSubstr("has an impossible count"));
    EXPECT_THAT(defectOfPly(plyStart + "element vertex 2000000000\n" + rest), EndsWith(": it is cut short"));
}

TEST_F(HostileMeshFileTest, aBinaryPlyWithAnImpossibleCountOfFacesIsRefused)
{
    const std::string start = "ply\nformat binary_little_endian 1.0\nelement vertex 1\n" + vertexProperties;
    const std::string end = "\nproperty list uint int vertex_indices\nend_header\n" + std::string(12, '\0');
    EXPECT_THAT(defectOfPly(start + "element face -1" + end), HasSubstr("has an impossible count"));
    EXPECT_THAT(defectOfPly(start + "element face 2147483647" + end), EndsWith(": it is cut short"));
    EXPECT_THAT(defectOfPly(start + "element face 1" + end + "\xff\xff\xff\xff"),
                HasSubstr("face 1 has 4294967295 corners"));
}

TEST_F(HostileMeshFileTest, aPlyElementOfNothingTakesNoTime)
{
    EXPECT_EQ(defectOfPly(plyStart + "element void 2147483647\nelement vertex 3\n" + vertexProperties +
                          faceElement + triangle),
              "");
}

TEST_F(HostileMeshFileTest, anUnknownPlyTypeIsRefusedInOneSentenceOnly)
{
    const std::string header = plyStart + "element vertex 3\n" + vertexProperties;
    std::string defect;
    ::testing::internal::CaptureStderr();
    defect = defectOfPly(header + "property quaternion q\n" + faceElement + triangle);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_THAT(defect, EndsWith(": line \"property quaternion q\" names an unknown type"));
    EXPECT_THAT(defectOfPly(header + "element face 1\nproperty list float int vertex_indices\nend_header\n"),
                EndsWith("counts with a type that cannot count"));
}

TEST_F(HostileMeshFileTest, aPlyWithoutPlacesOrCornersIsRefused)
{
    EXPECT_THAT(defectOfPly(plyStart + "element vertex 3\nproperty float x\n" + faceElement + triangle),
                EndsWith(": its vertices have no x, y and z"));
    EXPECT_THAT(defectOfPly(plyStart + "element vertex 3\n" + vertexProperties +
                            "element face 1\nproperty int a\nend_header\n" + triangle),
                EndsWith(": its faces have no list of corners"));
    EXPECT_THAT(defectOfPly(plyStart + "element vertex 3\n" + vertexProperties + "end_header\n" + triangle),
                EndsWith(": its PLY header names no element \"face\""));
}

TEST_F(HostileMeshFileTest, aBinaryPlyCutInItsFacesIsCutShort)
{
    std::string bytes = "ply\nformat binary_little_endian 1.0\nelement vertex 3\nproperty char x\n"
                        "property char y\nproperty char z\n" +
                        faceElement + std::string("\0\0\0\1\0\0\0\1\0", 9) +
                        std::string("\3\0\0\0\0\1\0\0\0", 9);
    EXPECT_THAT(defectOfPly(bytes), EndsWith(": it is cut short"));
    EXPECT_EQ(defectOfPly(bytes + std::string("\2\0\0\0", 4)), "");
}

TEST_F(HostileMeshFileTest, aBinaryStlWithMoreTrianglesThanBytesIsCutShort)
{
    EXPECT_THAT(
        defectOf(write("mesh.stl", std::string(80, ' ') + "\xff\xff\xff\xff" + std::string(50, '\0'))),
        EndsWith(": it is cut short"));
}

TEST_F(HostileMeshFileTest, aTextStlCutInItsSecondSolidIsCutShort)
{
    const std::string facet = " facet normal 0 0 1\n  outer loop\n   vertex 0 0 0\n   vertex 1 0 0\n"
                              "   vertex 0 1 0\n  endloop\n endfacet\n";
    const std::string first = "solid a\n" + facet + "endsolid a\n";
    EXPECT_EQ(defectOf(write("whole.stl", first + "solid b\n" + facet + "endsolid b\n\n")), "");
    EXPECT_THAT(defectOf(write("cut.stl", first + "solid b\n" + facet)), EndsWith(": it is cut short"));
    EXPECT_THAT(defectOf(write("odd.stl", "solid a\n facet\n  outer loop\n   vortex 0 0 0\n")),
                EndsWith(": line \"   vortex 0 0 0\" stands where a vertex should"));
}

TEST_F(HostileMeshFileTest, anObjFileOpensNoOtherFile)
{
    const std::string mesh = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    EXPECT_EQ(defectOf(write("mesh.obj", "mtllib /dev/zero\n" + mesh)), "");
}

TEST_F(HostileMeshFileTest, aFileLargerThanTheMemoryIsRefused)
{
    if (Brennic::Testing::isSanitized)
        GTEST_SKIP() << "a sanitizer ends the program instead";
    const auto path = write("huge.off", "OFF\n");
    std::error_code error;
    std::filesystem::resize_file(path, std::uintmax_t{1} << 43U, error);
    if (error)
        GTEST_SKIP() << "no file is that large here: " << error.message();
    EXPECT_THAT(defectOf(path), HasSubstr("too large for this machine's memory"));
}

TEST(HostileMeshBytes, noBytesAreNoObjMesh)
{
    const RawMesh mesh = readObj({});
    EXPECT_TRUE(mesh.positions.empty());
    EXPECT_FALSE(mesh.isLastLineOpen);
}
