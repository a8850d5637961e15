#pragma once
/// \file
/// Reads waypoint reports, the XML that `Kernel::SaveWaypointsToXml` writes under whatever locale.

#include <filesystem>

#include <brn_waypoints/Report.h>

class QByteArray;

namespace Brennic::Waypoints {

/// Reads the file; `-` is the standard input.
/// Throws `std::runtime_error` with the file's name, the line where there is one, and what is wrong.
Report readReport(const std::filesystem::path& file);

/// Reads a report from its bytes.
/// \param title the report's, which messages begin with.
Report parseReport(const QByteArray& bytes, const QString& title);

} // namespace Brennic::Waypoints
