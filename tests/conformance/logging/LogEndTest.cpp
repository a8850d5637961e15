#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/RunProgram.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic::Testing;
using ::testing::Contains;

namespace {

class LogEnd : public ::testing::Test
{
protected:
    /// Runs the scene and returns the lines of its log.
    std::vector<std::string> linesOf(const std::string& scene)
    {
        constexpr int exitCodeOfHost = 7;
        std::filesystem::remove(directory / "host.log");
        const ProgramResult result =
            runProgram(BRN_LOG_END_PROGRAM, {(directory / "host.log").u8string(), scene}, directory.path());
        EXPECT_TRUE(result.hasExited) << scene;
        EXPECT_EQ(result.exitCode, exitCodeOfHost) << result.err.substr(0, 2000);
        return readLines(directory / "host.log");
    }

    // What threads write beside the end is there or not, but never in part.
    static void expectWholeRecords(const std::vector<std::string>& lines)
    {
        EXPECT_GE(std::count(lines.begin(), lines.end(), "busy"), 100);
        for (const std::string& line : lines)
            EXPECT_TRUE(line == "busy" || line.rfind("from a", 0) == 0) << line;
    }

    TemporaryDirectory directory;
};

} // namespace

TEST_F(LogEnd, exitHandlersAndStaticDestructorsReachTheFile)
{
    EXPECT_THAT(linesOf("alone"), ::testing::ElementsAre("from an exit handler", "from a static destructor"));
}

TEST_F(LogEnd, threadsThatLogWhileMainReturnsChangeNoExitCode)
{
    for (int run = 0; run < 5; ++run)
        expectWholeRecords(linesOf("main"));
}

TEST_F(LogEnd, threadsThatLogWhileAnotherExitsChangeNoExitCode)
{
    for (int run = 0; run < 5; ++run)
        expectWholeRecords(linesOf("thread"));
}
