#include <brn_mesh_kernel/diagnostics/Profiler.h>

#include <ctime>

namespace Brennic::Core {

namespace {

constexpr std::int64_t ticksPerSecond = 1'000'000'000;

// The clock counts nanoseconds. Asking for its resolution tells whether there is such a clock at all.
std::int64_t monotonicFrequency()
{
    timespec resolution{};
    return clock_getres(CLOCK_MONOTONIC, &resolution) == 0 ? ticksPerSecond : 0;
}

std::int64_t monotonicNow()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * ticksPerSecond + now.tv_nsec;
}

} // namespace

PerformanceCounter systemPerformanceCounter()
{
    return {monotonicFrequency, monotonicNow};
}

} // namespace Brennic::Core
