#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/brn_waypoints/WaypointsProgramFixture.h"

using namespace Brennic::Testing;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

class WaypointsShellTest : public WaypointsProgramTest
{
protected:
    ProgramResult shell(const std::string& command)
    {
        return runProgram("sh", {"-c", command}, directory.path());
    }
};

} // namespace

TEST_F(WaypointsShellTest, aFullDiskIsToldAndTheDeviceStays)
{
    const ProgramResult result = shell(BRN_WAYPOINTS_PATH " run.xml --html /dev/full");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "brn_waypoints: cannot write /dev/full: No space left on device\n");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

TEST_F(WaypointsShellTest, aTableThatNobodyCanReadIsAFailure)
{
    const ProgramResult result = shell(BRN_WAYPOINTS_PATH " run.xml >/dev/full");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "brn_waypoints: cannot write the standard output: No space left on device\n");
}

// A limit on the size of files stands in for a full disk.
TEST_F(WaypointsShellTest, aFileThatCannotBeWrittenWhollyLeavesTheFormerOne)
{
    writeFile(directory / "p.html", "kept");
    const ProgramResult result =
        shell("trap '' XFSZ; ulimit -f 1; exec " BRN_WAYPOINTS_PATH " run.xml --html p.html");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, StartsWith("brn_waypoints: cannot write p.html: "));
    EXPECT_EQ(readFile(directory / "p.html"), "kept");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 2);
}

TEST_F(WaypointsShellTest, aLinkStaysALinkAndPermissionsStay)
{
    writeFile(directory / "real.html", "old");
    std::filesystem::permissions(directory / "real.html",
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    std::filesystem::create_symlink("real.html", directory / "link.html");
    EXPECT_EQ(shell(BRN_WAYPOINTS_PATH " run.xml --html link.html").exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(directory / "link.html"));
    EXPECT_THAT(readFile(directory / "real.html"), StartsWith("<!DOCTYPE html>"));
    EXPECT_EQ(std::filesystem::status(directory / "real.html").permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(WaypointsShellTest, aDashAmongTheReportsIsTheStandardInput)
{
    const ProgramResult result = shell("cat run.xml | " BRN_WAYPOINTS_PATH " run.xml -");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("\nstandard input:\nname "));
}

TEST_F(WaypointsShellTest, inputWithoutEndIsRefused)
{
    EXPECT_EQ(shell(BRN_WAYPOINTS_PATH " /dev/zero").err, "brn_waypoints: /dev/zero: it is not XML\n");
}
