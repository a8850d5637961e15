#include <brn_mesh_kernel/diagnostics/WaypointReport.h>

#include <cstdint>
#include <locale>
#include <sstream>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <brn_mesh_common/Util.h>

namespace Brennic::Core {

namespace {

namespace Util = Objects::Util;
using boost::property_tree::ptree;

void addVersions(ptree& report)
{
    Util::VersionInfo info;
    if (Util::QueryVersionInfo(info) != Success)
        return;
    report.put("Profiler.ProductVersion.<xmlattr>.description", Util::ConvertToChar(info.productDescription));
    report.put("Profiler.ProductVersion.<xmlattr>.version", Util::ConvertToChar(info.productVersion));
    report.put("Profiler.FileVersion.<xmlattr>.description", Util::ConvertToChar(info.fileDescription));
    report.put("Profiler.FileVersion.<xmlattr>.version", Util::ConvertToChar(info.fileVersion));
}

// Writes numbers as the global locale does. One stream for all of them: making one costs more than its use.
class NumberText
{
public:
    // Property trees write doubles with 17 digits, which shows 0.1 as 0.10000000000000001.
    NumberText() { m_stream.precision(16); }

    template <typename Number>
    std::string operator()(Number number)
    {
        m_stream.str({});
        m_stream << number;
        return m_stream.str();
    }

private:
    std::ostringstream m_stream;
};

std::int32_t low32Bits(std::int64_t value)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

ptree toTree(const Waypoint& waypoint, NumberText& text)
{
    ptree attributes;
    attributes.push_back({"name", ptree(Util::ConvertToChar(waypoint.name))});
    attributes.push_back({"frames", ptree(text(low32Bits(waypoint.frames)))});
    attributes.push_back({"elapsed", ptree(text(static_cast<double>(waypoint.elapsed) / 1000.0))});
    attributes.push_back({"memory", ptree(text(low32Bits(waypoint.memory)))});
    ptree element;
    element.push_back({"<xmlattr>", std::move(attributes)});
    return element;
}

void addWaypoints(ptree& report, const std::vector<Waypoint>& waypoints)
{
    if (waypoints.empty())
        return;
    NumberText text;
    ptree& list = report.add_child("Profiler.Waypoints", {});
    for (const Waypoint& waypoint : waypoints)
        list.push_back({"Waypoint", toTree(waypoint, text)});
}

} // namespace

EKvsStatus WriteWaypointReport(const std::vector<Waypoint>& waypoints, const std::wstring& path)
{
    ptree report;
    addVersions(report);
    addWaypoints(report, waypoints);
    const boost::property_tree::xml_writer_settings<std::string> settings(' ', 2, "utf-8");
    write_xml(Util::ConvertToChar(path), report, std::locale(), settings);
    return Success;
}

} // namespace Brennic::Core
