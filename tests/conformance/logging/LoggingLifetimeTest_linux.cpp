// Each of these needs a process of its own, which may not come to an end by itself.
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
using ::testing::HasSubstr;

namespace {

class LoggingLifetimeTest : public ::testing::Test
{
protected:
    /// Runs the scene and returns the lines of its log.
    std::vector<std::string> linesOf(const std::string& scene)
    {
        std::filesystem::remove(directory / "host.log");
        result =
            runProgram(BRN_LOGGING_PROGRAM, {(directory / "host.log").u8string(), scene}, directory.path());
        EXPECT_TRUE(result.hasExited) << scene;
        EXPECT_EQ(result.exitCode, 0) << result.err.substr(0, 2000);
        return readLines(directory / "host.log");
    }

    TemporaryDirectory directory;
    ProgramResult result;
};

} // namespace

TEST_F(LoggingLifetimeTest, withoutReadersTheFileGoesOnAndSaysSoOnce)
{
    const std::vector<std::string> lines = linesOf("logWithoutReaders");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "record"), 100);
    EXPECT_EQ(lines.size(), 102U);
    EXPECT_THAT(lines, Contains(HasSubstr("nobody reads the standard output")));
    EXPECT_THAT(lines, Contains(HasSubstr("nobody reads the standard error")));
}

TEST_F(LoggingLifetimeTest, pipesThatNobodyReadsStopNoThread)
{
    const std::vector<std::string> lines = linesOf("logIntoPipesThatNobodyReads");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "record"), 8000);
    EXPECT_EQ(lines.size(), 8002U);
}

TEST_F(LoggingLifetimeTest, threadsMayLogWhileMainReturnsAndBeyond)
{
    for (int run = 0; run < 5; ++run)
        EXPECT_THAT(linesOf("leaveMainWhileThreadsLog"), Contains("busy"));
}

TEST_F(LoggingLifetimeTest, anyThreadMayExitWhileOthersLog)
{
    for (int run = 0; run < 5; ++run)
        EXPECT_THAT(linesOf("exitFromThreadWhileOthersLog"), Contains("busy"));
}

TEST_F(LoggingLifetimeTest, aForkedChildLogsAndExits)
{
    const std::vector<std::string> lines = linesOf("exitFromChild");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "from the child"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "from an exit handler"), 2);
    const std::string out = result.out;
    EXPECT_EQ(out.rfind("printed from the child\nfrom an exit handler\n", 0), 0U) << out;
}

TEST_F(LoggingLifetimeTest, aChildMayLogThoughOtherThreadsOfItsParentDo)
{
    const std::vector<std::string> lines = linesOf("forkWhileThreadsLog");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "from the child"), 50);
}

TEST_F(LoggingLifetimeTest, aForkedChildOfAHostThatOnlyLinksTheLibraryExits)
{
    const ProgramResult linked = runProgram(BRN_LINKED_ONLY_PROGRAM, {}, directory.path());
    EXPECT_TRUE(linked.hasExited);
    EXPECT_EQ(linked.exitCode, 0) << linked.err;
}
