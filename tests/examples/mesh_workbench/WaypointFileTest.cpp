#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "WaypointFile.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

using Brennic::Testing::TemporaryDirectory;
using Brennic::Testing::writeFile;
using ::testing::HasSubstr;

namespace {

std::string errorOf(const std::filesystem::path& report)
{
    try {
        readLastRun(report);
        return {};
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

} // namespace

TEST(WaypointFile, givesTheWaypointsBehindTheLastIdleOne)
{
    const TemporaryDirectory directory;
    writeFile(directory / "report.xml",
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Profiler>\n  <Waypoints>\n"
              "<Waypoint name=\"Idle\" frames=\"0\" elapsed=\"9\" memory=\"0\"/>\n"
              "<Waypoint name=\"Load\" frames=\"0\" elapsed=\"8\" memory=\"0\"/>\n"
              "<Waypoint name=\"Idle\" frames=\"0\" elapsed=\"7\" memory=\"0\"/>\n"
              "<Waypoint name=\"Smooth\" frames=\"3\" elapsed=\"1.25\" memory=\"-4096\"/>\n"
              "</Waypoints>\n</Profiler>\n");
    const std::vector<Waypoint> waypoints = readLastRun(directory / "report.xml");
    ASSERT_EQ(waypoints.size(), 1U);
    EXPECT_EQ(waypoints[0].name, "Smooth");
    EXPECT_EQ(waypoints[0].iterations, 3);
    EXPECT_EQ(waypoints[0].seconds, 1.25);
    EXPECT_EQ(waypoints[0].bytes, -4096.0);
}

TEST(WaypointFile, saysInOneLineWhatIsWrongWithAFile)
{
    const TemporaryDirectory directory;
    writeFile(directory / "cut.xml", "<Profiler><Waypoints>");
    for (const std::string name : {"cut.xml", "missing.xml"}) {
        const std::string error = errorOf(directory / name);
        EXPECT_THAT(error, HasSubstr("cannot read "));
        EXPECT_THAT(error, HasSubstr(name + ": "));
        EXPECT_EQ(error.find('\n'), std::string::npos);
    }
}
