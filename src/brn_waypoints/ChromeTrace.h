#pragma once
/// \file
/// Waypoint reports in the trace event format, which Perfetto and Chromium's own viewer open.
///
/// A report is a process with one track of complete events, a waypoint each, one after the other from 0 on. Two
/// counters beside it: the memory since the beginning, and the frames a second, where there are frames.

#include <iosfwd>
#include <vector>

#include <brn_waypoints/Report.h>

namespace Brennic::Waypoints {

void writeChromeTrace(const std::vector<Report>& reports, std::ostream& out);

} // namespace Brennic::Waypoints
