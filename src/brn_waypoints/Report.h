#pragma once
/// \file
/// A waypoint report as it was read.

#include <cstdint>
#include <vector>

#include <QString>

namespace Brennic::Waypoints {

struct Waypoint
{
    QString name;
    double seconds = 0;
    std::int64_t frames = 0;
    std::int64_t memory = 0; ///< bytes
};

struct Report
{
    QString title;   ///< the file's name, for people
    QString product; ///< description and version; empty if the report has none
    std::vector<Waypoint> waypoints;
};

} // namespace Brennic::Waypoints
