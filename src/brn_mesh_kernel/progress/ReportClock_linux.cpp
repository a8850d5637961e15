#include <brn_mesh_kernel/progress/ReportClock.h>

#include <ctime>

namespace Brennic::Core {

namespace {

std::chrono::nanoseconds read(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

} // namespace

std::chrono::nanoseconds ReportClock::coarse()
{
    return read(CLOCK_MONOTONIC_COARSE);
}

// The same clock, read to the nanosecond.
std::chrono::nanoseconds ReportClock::exact()
{
    return read(CLOCK_MONOTONIC);
}

} // namespace Brennic::Core
