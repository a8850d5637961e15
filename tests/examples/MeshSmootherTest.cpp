#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/RunProgram.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic::Testing;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::MatchesRegex;

namespace {

class MeshSmootherTest : public ::testing::Test
{
protected:
    MeshSmootherTest()
    {
        writeFile(directory / "mesh.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\n"
                                          "f 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n");
    }

    ProgramResult run(const std::vector<std::string>& arguments)
    {
        return runProgram(MESH_SMOOTHER_PATH, arguments, directory.path());
    }

    std::vector<std::string> fileNames() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    void expectOneLineAndFailure(const ProgramResult& result, const std::string& text)
    {
        EXPECT_TRUE(result.hasExited);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(splitLines(result.err), ElementsAre(HasSubstr(text)));
    }

    TemporaryDirectory directory;
};

} // namespace

TEST_F(MeshSmootherTest, aMeshIsSmoothedWithoutFurtherOptions)
{
    const ProgramResult result = run({"mesh.obj"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(fileNames(), ElementsAre("mesh.obj", "mesh_smoothed.log", "mesh_smoothed.obj",
                                         "mesh_smoothed_report.xml"));
    EXPECT_THAT(result.out, HasSubstr((directory / "mesh_smoothed.obj").string()));
    EXPECT_THAT(result.out, HasSubstr((directory / "mesh_smoothed.log").string()));
    EXPECT_THAT(result.out, HasSubstr((directory / "mesh_smoothed_report.xml").string()));
}

TEST_F(MeshSmootherTest, theReportCountsTheStagesAndTheirIterations)
{
    EXPECT_EQ(run({"mesh.obj", "--iterations", "7", "--report", "run.xml"}).exitCode, 0);
    const std::vector<std::string> lines = readLines(directory / "run.xml");
    ASSERT_EQ(lines.size(), 11U);
    EXPECT_THAT(lines[2],
                MatchesRegex("  <ProductVersion description=\"brn_mesh_kernel\" version=\"[0-9.]+\"/>"));
    EXPECT_THAT(lines[3], MatchesRegex("  <FileVersion description=\"Mesh smoother\" version=\"[0-9.]+\"/>"));
    EXPECT_THAT(lines[5], HasSubstr("name=\"Load\" frames=\"0\""));
    EXPECT_THAT(lines[6], HasSubstr("name=\"Smooth\" frames=\"7\""));
    EXPECT_THAT(lines[7], HasSubstr("name=\"Save\" frames=\"0\""));
    EXPECT_THAT(lines[8], HasSubstr("name=\"END\" frames=\"0\""));
}

TEST_F(MeshSmootherTest, theTablePrintsWhatTheReportSays)
{
    const std::vector<std::string> lines = splitLines(run({"mesh.obj", "--iterations", "3"}).out);
    EXPECT_THAT(lines, IsSupersetOf({MatchesRegex("waypoint +iterations +seconds +memory \\(MB\\)"),
                                     MatchesRegex("Load +0 +[0-9.]+ +[+-][0-9.]+"),
                                     MatchesRegex("Smooth +3 +[0-9.]+ +[+-][0-9.]+"),
                                     MatchesRegex("Save +0 +[0-9.]+ +[+-][0-9.]+")}));
}

TEST_F(MeshSmootherTest, logOptionsReachTheKernel)
{
    const ProgramResult result =
        run({"mesh.obj", "--log", "my.log", "--log-level", "TRACE", "--log-pattern", "%p: %m%n"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(readLines(directory / "my.log"),
                IsSupersetOf({std::string("INFO: loaded mesh.obj: 4 vertices, 4 triangles"),
                              std::string("INFO: saved mesh_smoothed.obj")}));
    EXPECT_THAT(readLines(directory / "my.log"),
                Contains(MatchesRegex("TRACE: Smooth >>>> frame count: 10 / .*")));
}

TEST_F(MeshSmootherTest, theLogLevelOffWritesNoRecord)
{
    const ProgramResult result = run({"mesh.obj", "--log-level", "off"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(readFile(directory / "mesh_smoothed.log"), "");
}

TEST_F(MeshSmootherTest, everyFormatCanBeWrittenAndReadBack)
{
    for (const std::string format : {"ply", "stl", "off", "obj"}) {
        EXPECT_EQ(run({"mesh.obj", "--output", "out." + format}).exitCode, 0) << format;
        EXPECT_EQ(run({"out." + format, "--output", "again.obj"}).exitCode, 0) << format;
    }
}

TEST_F(MeshSmootherTest, theSameInputGivesTheSameBytes)
{
    run({"mesh.obj", "--output", "first.ply"});
    run({"mesh.obj", "--output", "second.ply"});
    EXPECT_FALSE(readFile(directory / "first.ply").empty());
    EXPECT_EQ(readFile(directory / "first.ply"), readFile(directory / "second.ply"));
}

TEST_F(MeshSmootherTest, aBadInputEndsWithOneLineAndLeavesNoMesh)
{
    writeFile(directory / "empty.obj", "");
    writeFile(directory / "quad.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n");
    writeFile(directory / "cut.off", "OFF\n4 4 0\n0 0 0\n1 0");
    expectOneLineAndFailure(run({"missing.obj"}), "missing.obj: there is no such file");
    expectOneLineAndFailure(run({"empty.obj"}), "empty.obj: it is empty");
    expectOneLineAndFailure(run({"quad.obj"}), "quad.obj: face 1 has 4 corners");
    expectOneLineAndFailure(run({"cut.off"}), "cut.off: it is cut short");
    EXPECT_THAT(fileNames(), ::testing::Not(::testing::Contains(HasSubstr("_smoothed.o"))));
}

TEST_F(MeshSmootherTest, anOutputThatCannotBeWrittenEndsWithOneLineAndLosesNothing)
{
    expectOneLineAndFailure(run({"mesh.obj", "--output", "missing/out.obj"}), "missing/out.obj");
    EXPECT_THAT(fileNames(), ElementsAre("mesh.obj"));
}

TEST_F(MeshSmootherTest, wrongUsageEndsWithCodeTwo)
{
    const std::vector<std::vector<std::string>> wrong = {{},
                                                         {"mesh.obj", "--iterations", "-1"},
                                                         {"mesh.obj", "--iterations", "many"},
                                                         {"mesh.obj", "--log-level", "loud"},
                                                         {"mesh.obj", "--output", "out.xyz"},
                                                         {"mesh.obj", "--unknown"},
                                                         {"mesh.obj", "second.obj"}};
    for (const auto& arguments : wrong) {
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 2) << ::testing::PrintToString(arguments);
        EXPECT_NE(result.err, "");
        EXPECT_EQ(result.out, "");
    }
    EXPECT_THAT(fileNames(), ElementsAre("mesh.obj"));
}

TEST_F(MeshSmootherTest, helpAndVersionGoToTheStandardOutput)
{
    const ProgramResult help = run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* option :
         {"INPUT", "--output", "--iterations", "--log", "--log-level", "--log-pattern", "--report"})
        EXPECT_THAT(help.out, HasSubstr(option));
    const ProgramResult version = run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_THAT(version.out, MatchesRegex("mesh_smoother [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(MeshSmootherTest, namesOutsideAsciiWork)
{
    std::filesystem::copy_file(directory / "mesh.obj", directory / "h\xC3\xA4schen.obj");
    EXPECT_EQ(run({"h\xC3\xA4schen.obj"}).exitCode, 0);
    EXPECT_FALSE(readFile(directory / "h\xC3\xA4schen_smoothed.obj").empty());
    EXPECT_THAT(readFile(directory / "h\xC3\xA4schen_smoothed.log"), HasSubstr("loaded h\xC3\xA4schen.obj"));
}
