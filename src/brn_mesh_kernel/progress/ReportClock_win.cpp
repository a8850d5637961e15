#include <brn_mesh_kernel/progress/ReportClock.h>

#include <windows.h>

namespace Brennic::Core {

std::chrono::nanoseconds ReportClock::coarse()
{
    return std::chrono::milliseconds(static_cast<std::chrono::milliseconds::rep>(GetTickCount64()));
}

// At most one tick later than the clock says: 64 of them are a second.
std::chrono::nanoseconds ReportClock::exact()
{
    return coarse() + std::chrono::milliseconds(16);
}

} // namespace Brennic::Core
