#include <exception>
#include <iostream>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>

int main()
try {
    using namespace Brennic::Core;
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(L"host.log");
    kernel.SetLogLevel(Trace);
    kernel.Initialize();
    kernel.Logger()->Log(Info, L"%s has %d vertices", L"Bunny", 34834);
    kernel.ProfilerWaypoint(L"Load");
    kernel.Terminate();
    kernel.SaveWaypointsToXml(L"host.xml");
} catch (const std::exception& error) {
    std::cerr << "quick_start: " << error.what() << '\n';
    return 1;
}
