#include <cstdint>
#include <string>
#include <vector>

#include <QtGlobal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <brn_mesh_kernel/logging/QtMessages.h>

#include "KernelSession.h"
#include "MeshSmootherFixture.h"
#include "Options.h"
#include "support/MatchesPattern.h"
#include "support/Sanitizers.h"

using namespace Brennic::Testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;

TEST_F(MeshSmootherTest, aMeshIsSmoothedWithoutFurtherOptions)
{
    const ProgramResult result = run({"mesh.obj"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(fileNames(), ElementsAre("mesh.obj", "mesh_smoothed.log", "mesh_smoothed.obj",
                                         "mesh_smoothed_report.xml"));
    EXPECT_THAT(result.out, HasSubstr((directory / "mesh_smoothed.obj").u8string()));
    EXPECT_THAT(result.out, HasSubstr((directory / "mesh_smoothed.log").u8string()));
    EXPECT_THAT(result.out, HasSubstr((directory / "mesh_smoothed_report.xml").u8string()));
}

TEST_F(MeshSmootherTest, theReportCountsTheStagesAndTheirIterations)
{
    EXPECT_EQ(run({"mesh.obj", "--iterations", "7", "--report", "run.xml"}).exitCode, 0);
    const std::vector<std::string> lines = readLines(directory / "run.xml");
    ASSERT_EQ(lines.size(), 11U);
    EXPECT_THAT(lines[2],
                MatchesPattern("  <ProductVersion description=\"brn_mesh_kernel\" version=\"[0-9.]+\"/>"));
    EXPECT_THAT(lines[3],
                MatchesPattern("  <FileVersion description=\"Mesh smoother\" version=\"[0-9.]+\"/>"));
    EXPECT_THAT(lines[5], HasSubstr("name=\"Load\" frames=\"0\""));
    EXPECT_THAT(lines[6], HasSubstr("name=\"Smooth\" frames=\"7\""));
    EXPECT_THAT(lines[7], HasSubstr("name=\"Save\" frames=\"0\""));
    EXPECT_THAT(lines[8], HasSubstr("name=\"END\" frames=\"0\""));
}

TEST_F(MeshSmootherTest, theTablePrintsWhatTheReportSays)
{
    const std::vector<std::string> lines = splitLines(run({"mesh.obj", "--iterations", "3"}).out);
    EXPECT_THAT(lines, IsSupersetOf({MatchesPattern("waypoint +iterations +seconds +memory \\(MB\\)"),
                                     MatchesPattern("Load +0 +[0-9.]+ +[+-][0-9.]+"),
                                     MatchesPattern("Smooth +3 +[0-9.]+ +[+-][0-9.]+"),
                                     MatchesPattern("Save +0 +[0-9.]+ +[+-][0-9.]+")}));
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
                Contains(MatchesPattern("TRACE: Smooth >>>> frame count: 10 / .*")));
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

TEST_F(MeshSmootherTest, theSameInputGivesTheSameBytesOnAnyNumberOfThreads)
{
    EXPECT_EQ(run({"mesh.obj", "--subdivide", "6", "--threads", "1", "--output", "1.ply"}).exitCode, 0);
    const std::string expected = readFile(directory / "1.ply");
    EXPECT_FALSE(expected.empty());
    for (const std::string threads : {"2", "3", "8"}) {
        EXPECT_EQ(run({"mesh.obj", "--subdivide", "6", "--threads", threads, "--output", "n.ply"}).exitCode,
                  0);
        EXPECT_TRUE(readFile(directory / "n.ply") == expected) << threads;
    }
}

TEST_F(MeshSmootherTest, subdivisionSplitsEachTriangleIntoFour)
{
    const ProgramResult result = run({"mesh.obj", "--subdivide", "3"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("130 vertices, 256 triangles"));
    EXPECT_THAT(readFile(directory / "mesh_smoothed_report.xml"), HasSubstr("name=\"Subdivide\""));
}

TEST_F(MeshSmootherTest, aMessageOfQtIsInTheLog)
{
    struct NoSource final : Brennic::Core::IProfilerSource
    {
        std::int64_t MemoryUsage() override { return 0; }
        std::int64_t FrameCount() override { return 0; }
    } source;
    Options options;
    options.log = directory / "qt.log";
    {
        const KernelSession session(options, source);
        qWarning("%d vertices are not used", 12);
    }
    Brennic::Core::QtMessages::restore();
    EXPECT_THAT(readFile(options.log), HasSubstr("WARN  - 12 vertices are not used"));
}

TEST_F(MeshSmootherTest, redirectedOutputHasALinePerStageAndNoControlCharacters)
{
    const ProgramResult result = run({"mesh.obj", "--subdivide", "1", "--log-level", "off"});
    const std::vector<std::string> lines = splitLines(result.out);
    ASSERT_GE(lines.size(), 4U);
    EXPECT_THAT(lines[0], MatchesPattern("Load +[0-9.]+ s"));
    EXPECT_THAT(lines[1], MatchesPattern("Subdivide +[0-9.]+ s"));
    EXPECT_THAT(lines[2], MatchesPattern("Smooth +[0-9.]+ s"));
    EXPECT_THAT(lines[3], MatchesPattern("Save +[0-9.]+ s"));
    EXPECT_EQ(result.out.find_first_of("\r\x1b"), std::string::npos);
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

TEST_F(MeshSmootherTest, aPlaceThatIsADirectoryIsRefusedBeforeTheWork)
{
    std::filesystem::create_directory(directory / "taken.obj");
    for (const std::string option : {"--output", "--log", "--report"})
        expectOneLineAndFailure(run({"mesh.obj", option, "taken.obj"}), "taken.obj: it is a directory");
    EXPECT_THAT(fileNames(), ElementsAre("mesh.obj", "taken.obj"));
}

TEST_F(MeshSmootherTest, aFileCannotServeTwice)
{
    const std::string mesh = readFile(directory / "mesh.obj");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"mesh.obj", "--log", "mesh.obj"},
          {"mesh.obj", "--report", "./mesh.obj"},
          {"mesh.obj", "--output", "a.obj", "--report", "a.obj"},
          {"mesh.obj", "--log", "a", "--report", "a"}}) {
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 2) << ::testing::PrintToString(arguments);
        EXPECT_THAT(result.err, HasSubstr("cannot be the"));
    }
    EXPECT_EQ(readFile(directory / "mesh.obj"), mesh);
    EXPECT_THAT(fileNames(), ElementsAre("mesh.obj"));
}

TEST_F(MeshSmootherTest, theOutputMayReplaceTheInput)
{
    const std::string before = readFile(directory / "mesh.obj");
    EXPECT_EQ(run({"mesh.obj", "--output", "mesh.obj"}).exitCode, 0);
    EXPECT_NE(readFile(directory / "mesh.obj"), before);
}

TEST_F(MeshSmootherTest, wrongUsageEndsWithCodeTwo)
{
    const std::vector<std::vector<std::string>> wrong = {{},
                                                         {"mesh.obj", "--iterations", "-1"},
                                                         {"mesh.obj", "--iterations", "many"},
                                                         {"mesh.obj", "--log-level", "loud"},
                                                         {"mesh.obj", "--threads", "0"},
                                                         {"mesh.obj", "--subdivide", "9"},
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
    for (const char* option : {"INPUT", "--output", "--iterations", "--subdivide", "--threads", "--log",
                               "--log-level", "--log-pattern", "--report", "--crash", "segv"})
        EXPECT_THAT(help.out, HasSubstr(option));
    const ProgramResult version = run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_THAT(version.out, MatchesPattern("mesh_smoother [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(MeshSmootherTest, aCrashLeavesDumpAndCommandLogAndSaysWhere)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer reports the mistakes before they are crashes";
    for (const std::string kind : {"segv", "abort", "throw", "fpe", "stack", "pure", "ill"})
        expectCrashIsTold(kind);
}

TEST_F(MeshSmootherTest, aMeshThatCannotBeHeldAsItIsGivesAWarning)
{
    writeFile(directory / "degenerate.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\nf 1 1 2\n");
    const ProgramResult result = run({"degenerate.obj", "--log-pattern", "%p: %m%n"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(readLines(directory / "degenerate_smoothed.log"),
                Contains(MatchesPattern("WARN: degenerate.obj: .*left out: 1")));
}

TEST_F(MeshSmootherTest, namesOutsideAsciiWork)
{
    const std::string name = "h\xC3\xA4schen \xF0\x9F\x98\x80";
    std::filesystem::copy_file(directory / "mesh.obj", directory / (name + ".obj"));
    const ProgramResult result = run({name + ".obj"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr(name + "_smoothed.obj"));
    EXPECT_FALSE(readFile(directory / (name + "_smoothed.obj")).empty());
    EXPECT_THAT(readFile(directory / (name + "_smoothed.log")), HasSubstr("loaded " + name + ".obj"));
    EXPECT_THAT(readFile(directory / (name + "_smoothed_report.xml")), HasSubstr("name=\"Load\""));
}
