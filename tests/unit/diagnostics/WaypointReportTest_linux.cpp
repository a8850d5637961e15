#include <brn_mesh_kernel/diagnostics/WaypointReport.h>

#include <vector>

#include <boost/property_tree/xml_parser.hpp>
#include <gtest/gtest.h>

using namespace Brennic::Core;

TEST(WaypointReport, aDiskThatIsFullThrows)
{
    try {
        WriteWaypointReport(std::vector<Waypoint>(10'000, Waypoint{L"a", 0, 0, 0}), L"/dev/full");
        FAIL() << "no exception";
    } catch (const boost::property_tree::xml_parser_error& error) {
        EXPECT_EQ(error.message(), "write error");
    }
}
