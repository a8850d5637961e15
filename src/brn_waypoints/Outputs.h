#pragma once
/// \file
/// What the program writes: where to, and as what.

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <vector>

#include <brn_waypoints/Report.h>

namespace Brennic::Waypoints {

/// Has \p write fill a new file beside \p file, which then takes its place. `-` is the standard output.
///
/// Throws `std::runtime_error` with the file's name if that fails; what was there before is still there then. Devices
/// and pipes are written to directly.
void writeOutput(const std::filesystem::path& file, const std::function<void(std::ostream&)>& write);

/// Writes the reports in the trace event format, which Perfetto and Chromium's own viewer open.
///
/// A report is a process with one track of complete events, a waypoint each, one after the other from 0 on. Two
/// counters beside it: the memory since the beginning, and the frames a second, where there are frames.
void writeChromeTrace(const std::vector<Report>& reports, std::ostream& out);

/// Writes the reports as one HTML page that needs nothing else: a chart with its legend, and a table for each report.
void writeHtmlPage(const std::vector<Report>& reports, std::ostream& out);

} // namespace Brennic::Waypoints
