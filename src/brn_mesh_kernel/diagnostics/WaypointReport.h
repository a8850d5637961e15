#pragma once
/// \file
/// Internal, not installed. The waypoint report: recorded waypoints and version texts as an XML file.

#include <cstdint>
#include <string>
#include <vector>

#include <brn_mesh_kernel/kernel/EKvsStatus.h>

namespace Brennic::Core {

/// One profiler waypoint: the stretch since the previous one.
struct Waypoint
{
    std::wstring name;
    std::int64_t elapsed; ///< milliseconds, truncated
    std::int64_t frames;
    std::int64_t memory; ///< bytes
};

/// Creates or replaces the file (see ReportFile.h): an older one stays until the new one is complete.
///
/// Text is UTF-8; numbers are written as the global C++ locale writes them at that moment. Frames and memory
/// keep the low 32 bits of their values. The version elements are left out if no version is known, and the
/// list if there is no waypoint.
/// \return `Success`. Throws `boost::property_tree::xml_parser_error` if the file cannot be opened ("cannot
/// open file") or written ("write error").
EKvsStatus WriteWaypointReport(const std::vector<Waypoint>& waypoints, const std::wstring& path);

} // namespace Brennic::Core
