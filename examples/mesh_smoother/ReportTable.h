#pragma once
/// \file
/// Prints a waypoint report for people.

#include <filesystem>
#include <iosfwd>

/// Reads the XML report and prints its waypoints as a table.
/// Throws `std::runtime_error` if the file cannot be read.
void printReportTable(const std::filesystem::path& report, std::ostream& out);
