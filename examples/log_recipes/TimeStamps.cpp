// Records that begin with the time, in UTC and to the millisecond.
#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/Log.h>

int main()
{
    using namespace Brennic::Core;
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(L"host.log");
    // %d is UTC and %D local time; inside the braces, %q is milliseconds and the rest is strftime's.
    kernel.SetLogMessageFormat(L"%d{%Y-%m-%dT%H:%M:%S.%qZ} %-5p %m%n");
    kernel.Initialize();
    BRN_LOG(Info, "Loading took {:.1f} s", 0.25);
    kernel.Terminate();
}
