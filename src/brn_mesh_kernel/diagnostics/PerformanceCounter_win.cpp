#include <brn_mesh_kernel/diagnostics/Profiler.h>

#include <windows.h>

namespace Brennic::Core {

namespace {

std::int64_t performanceFrequency()
{
    LARGE_INTEGER frequency{};
    return QueryPerformanceFrequency(&frequency) != 0 ? frequency.QuadPart : 0;
}

std::int64_t performanceCount()
{
    LARGE_INTEGER count{};
    QueryPerformanceCounter(&count);
    return count.QuadPart;
}

} // namespace

PerformanceCounter systemPerformanceCounter()
{
    return {performanceFrequency, performanceCount};
}

} // namespace Brennic::Core
