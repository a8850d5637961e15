#pragma once
/// \file
/// Internal, not installed. The record of one profiler waypoint: the stretch since the previous one.

#include <cstdint>
#include <string>

namespace Brennic::Core {

struct Waypoint
{
    std::wstring name;
    std::int64_t elapsed; ///< milliseconds, truncated
    std::int64_t frames;
    std::int64_t memory; ///< bytes
};

} // namespace Brennic::Core
