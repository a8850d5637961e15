#pragma once
/// \file
/// Reads the report that the kernel writes of its waypoints.

#include <filesystem>
#include <vector>

#include "Waypoint.h"

/// The waypoints of the last run: those behind the last one named \ref idleWaypoint.
/// Throws `std::runtime_error` with one sentence if the file is no report or cannot be read.
std::vector<Waypoint> readLastRun(const std::filesystem::path& report);
