#pragma once
/// \file
/// Internal, not installed. The system's high-resolution clock as a counter and its frequency.

#include <cstdint>

namespace Brennic::Core {

/// Two functions, so that a test can put a clock of its own in their place.
struct PerformanceCounter
{
    std::int64_t (*frequency)(); ///< ticks per second; 0 if there is no such counter
    std::int64_t (*now)();       ///< ticks since some fixed moment
};

/// The performance counter of Windows, `CLOCK_MONOTONIC` on Linux.
PerformanceCounter systemPerformanceCounter();

} // namespace Brennic::Core
