#pragma once
/// \file
/// Reads the report that the kernel writes of its waypoints.

#include <filesystem>
#include <vector>

#include <QString>

/// A waypoint of the profiler, as its report has it.
struct Waypoint
{
    QString name;
    int iterations = 0;
    double seconds = 0;
    double bytes = 0; ///< by which the memory has grown
};

/// The name of the waypoint that ends the time before a run.
constexpr const wchar_t* idleWaypoint = L"Idle";

/// Returns the waypoints of the last run: those after the last one named \ref idleWaypoint, or all if there is none.
/// Throws `std::runtime_error` with one sentence if the file cannot be read or is not a report.
std::vector<Waypoint> readLastRun(const std::filesystem::path& report);
