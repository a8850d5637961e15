/// \file
/// Saves a report as a host does: `save_report_program PATH`. Ends with 1 and one line if it cannot be saved.

#include <exception>
#include <iostream>
#include <string>

#include <boost/nowide/convert.hpp>
#include <brn_mesh_kernel/kernel/Kernel.h>

int main(int count, char** values)
{
    using namespace Brennic::Core;
    constexpr int waypoints = 2000; // more than one write takes
    if (count != 2)
        return 93;
    Kernel kernel;
    kernel.Initialize();
    for (int i = 0; i != waypoints; ++i)
        kernel.ProfilerWaypoint((L"waypoint " + std::to_wstring(i)).c_str());
    try {
        kernel.SaveWaypointsToXml(boost::nowide::widen(values[1]).c_str());
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
