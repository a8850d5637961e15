#include <csignal>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QProcess>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MeshSmootherFixture.h"
#include "support/Eventually.h"
#include "support/Sanitizers.h"

using namespace Brennic::Testing;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST_F(MeshSmootherTest, aTerminalShowsOneLiveLineOfItsWidth)
{
    if (runProgram("script", {"-qec", "true", "/dev/null"}, directory.path()).exitCode != 0)
        GTEST_SKIP() << "the system gives us no terminal";
    const std::string iterations = isSanitized ? "50" : "300"; // some seconds
    const std::string command = "stty cols 50; export TERM=xterm; exec " MESH_SMOOTHER_PATH
                                " mesh.obj --subdivide 7 --log-level off --iterations " +
                                iterations;
    const ProgramResult result = runProgram("script", {"-qec", command, "/dev/null"}, directory.path());
    EXPECT_EQ(result.exitCode, 0);
    std::size_t shown = 0;
    const std::string erase = "\r\x1b[K";
    std::size_t end = 0;
    for (std::size_t start = 0; (start = result.out.find(erase, start)) != std::string::npos; start = end) {
        start += erase.size();
        end = result.out.find_first_of("\r\n", start);
        const std::string line = result.out.substr(start, end - start);
        EXPECT_LT(line.size(), 50U) << line;
        shown += line.find(" %") != std::string::npos ? 1U : 0U;
    }
    EXPECT_GT(shown, 0U);
    EXPECT_EQ(result.out.find('%', result.out.rfind(erase)), std::string::npos) << "the line is left behind";
}

TEST_F(MeshSmootherTest, aDumbTerminalGetsNoEscapeSequences)
{
    if (runProgram("script", {"-qec", "true", "/dev/null"}, directory.path()).exitCode != 0)
        GTEST_SKIP() << "the system gives us no terminal";
    const std::string command =
        "export TERM=dumb; exec " MESH_SMOOTHER_PATH " mesh.obj --subdivide 5 --iterations 100";
    const ProgramResult result = runProgram("script", {"-qec", command, "/dev/null"}, directory.path());
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("Smooth"));
    EXPECT_EQ(result.out.find('\x1b'), std::string::npos) << result.out;
}

class InterruptedSmoother : public MeshSmootherTest, public ::testing::WithParamInterface<const char*>
{
};

// The line of a stage is printed at its end, hence the interrupt comes in the next one.
TEST_P(InterruptedSmoother, endsByTheSignalAndLeavesNoMesh)
{
    QProcess process;
    process.setWorkingDirectory(QString::fromStdString(directory.path().string()));
    process.start(MESH_SMOOTHER_PATH, {"mesh.obj", "--subdivide", "8", "--iterations", "1000000"});
    while (process.waitForReadyRead(30'000) && !process.peek(10'000).contains(GetParam()))
        continue;
    ASSERT_TRUE(process.peek(10'000).contains(GetParam()));
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(60'000));
    EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(process.exitCode(), SIGINT);
    EXPECT_THAT(fileNames(), ElementsAre("mesh.obj", "mesh_smoothed.log"));
}

INSTANTIATE_TEST_SUITE_P(After, InterruptedSmoother, ::testing::Values("Load", "Subdivide"));

// Who opens a pipe to write waits for its reader, so the interrupt comes before the first byte.
TEST_F(MeshSmootherTest, anInterruptWhileItSavesLeavesNothingWritten)
{
    const std::filesystem::path pipe = directory / "pipe.obj";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    QProcess process;
    process.setWorkingDirectory(QString::fromStdString(directory.path().string()));
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(MESH_SMOOTHER_PATH, {"mesh.obj", "--output", "pipe.obj"});
    const auto awaitOutput = [&](const char* text) {
        while (!process.peek(10'000).contains(text) && process.waitForReadyRead(30'000))
            continue;
        return process.peek(10'000).contains(text);
    };
    ASSERT_TRUE(awaitOutput("Smooth "));
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    ASSERT_TRUE(awaitOutput("interrupted: ending before the next step"));
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    ASSERT_TRUE(process.waitForFinished(60'000));
    char byte = 0;
    EXPECT_EQ(::read(reader, &byte, 1), 0);
    ::close(reader);
    EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(process.exitCode(), SIGINT);
    EXPECT_THAT(fileNames(), ElementsAre("mesh.obj", "pipe.log", "pipe.obj"));
}

TEST_F(MeshSmootherTest, aNameThatIsNoUtf8IsRefused)
{
    const ProgramResult result =
        runProgram("sh", {"-c", "exec " MESH_SMOOTHER_PATH " mesh.obj --output \"$(printf 'a\\377.obj')\""},
                   directory.path());
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(splitLines(result.err), ElementsAre(HasSubstr("its name is no valid UTF-8")));
    EXPECT_THAT(fileNames(), ElementsAre("mesh.obj"));
}

TEST_F(MeshSmootherTest, anOutputThatNobodyCanReadIsAFailure)
{
    const ProgramResult result =
        runProgram("sh", {"-c", "exec " MESH_SMOOTHER_PATH " mesh.obj > /dev/full"}, directory.path());
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("cannot print where the results are"));
}

TEST_F(MeshSmootherTest, anOutputThatIsAPipeIsWrittenToAndStays)
{
    const ProgramResult result =
        runProgram("sh",
                   {"-c", "mkfifo pipe.obj && { cat pipe.obj > read.obj & } && exec " MESH_SMOOTHER_PATH
                          " mesh.obj --output pipe.obj"},
                   directory.path());
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(std::filesystem::is_fifo(directory / "pipe.obj"));
    EXPECT_TRUE(
        eventually([this] { return readFile(directory / "read.obj").find("\nf ") != std::string::npos; }));
}

TEST_F(MeshSmootherTest, aLogThatIsTheMeshByAHardLinkIsRefused)
{
    const std::string mesh = readFile(directory / "mesh.obj");
    std::filesystem::create_hard_link(directory / "mesh.obj", directory / "linked.log");
    const ProgramResult result = run({"mesh.obj", "--log", "linked.log"});
    EXPECT_NE(result.exitCode, 0);
    EXPECT_THAT(result.err, HasSubstr("the log cannot be the mesh's file"));
    EXPECT_EQ(readFile(directory / "mesh.obj"), mesh);
}

// A limit of the shell's for the size of files stands in for a disk that is full: the first write takes a part.
TEST_F(MeshSmootherTest, aFullDiskIsNamedAsSuch)
{
    const ProgramResult result = runProgram("sh",
                                            {"-c", "trap '' XFSZ; ulimit -f 8; exec " MESH_SMOOTHER_PATH
                                                   " mesh.obj --subdivide 6 --log-level off"},
                                            directory.path());
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(splitLines(result.err),
              std::vector<std::string>{"mesh_smoother: cannot save mesh_smoothed.obj: File too large"});
    EXPECT_FALSE(std::filesystem::exists(directory / "mesh_smoothed.obj"));
}

TEST_F(MeshSmootherTest, aFullDeviceIsNamedAsSuch)
{
    std::filesystem::create_symlink("/dev/full", directory / "full.obj");
    const ProgramResult result = run({"mesh.obj", "--output", "full.obj", "--log-level", "off"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(splitLines(result.err),
                ElementsAre("mesh_smoother: cannot save full.obj: No space left on device"));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

TEST_F(MeshSmootherTest, aReportThatCannotBeSavedIsOneLine)
{
    std::filesystem::create_symlink("/dev/full", directory / "report.xml");
    const ProgramResult result = run({"mesh.obj", "--report", "report.xml", "--log-level", "off"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(splitLines(result.err),
                ElementsAre("mesh_smoother: cannot save report.xml: No space left on device"));
}

TEST(QuickStart, aReportThatCannotBeSavedIsOneLineAndNoAbort)
{
    const TemporaryDirectory directory;
    std::filesystem::create_symlink("/dev/full", directory / "host.xml");
    const ProgramResult result = runProgram(QUICK_START_PATH, {}, directory.path());
    EXPECT_TRUE(result.hasExited);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(splitLines(result.err).back(), HasSubstr("quick_start: "));
}

// Elsewhere it is a matter of luck whether the command log can still be written.
TEST_F(MeshSmootherTest, aCorruptHeapLeavesDumpAndCommandLogAndSaysWhere)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer reports the mistake before it is a crash";
    expectCrashIsTold("heap");
}
