#pragma once
/// \file
/// Waypoint reports as one HTML page that needs nothing else: a chart with its legend, and a table for each report.

#include <iosfwd>
#include <vector>

#include <brn_waypoints/Report.h>

namespace Brennic::Waypoints {

void writeHtmlPage(const std::vector<Report>& reports, std::ostream& out);

} // namespace Brennic::Waypoints
