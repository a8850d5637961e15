#pragma once
/// \file
/// A waypoint of the profiler, as its report gives it.

#include <QString>

struct Waypoint
{
    QString name;
    int iterations = 0;
    double seconds = 0;
    double bytes = 0; ///< by which the memory has grown
};

/// The name of the waypoint that ends the time before a run.
constexpr const wchar_t* idleWaypoint = L"Idle";
