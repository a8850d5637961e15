// Records that name their thread as debuggers do.
#include <thread>

#include <QCoreApplication>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/Log.h>

int main()
{
    using namespace Brennic::Core;
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(L"host.log");
    // %t, as in the default pattern, is the thread library's number. %T is the system's: "LWP" in gdb, "tid" in lldb and top.
    kernel.SetLogMessageFormat(L"[%T] %m%n");
    kernel.Initialize();
    BRN_LOG(Info, "main thread of process {}", QCoreApplication::applicationPid());
    std::thread([] { BRN_LOG(Info, "another thread"); }).join();
    kernel.Terminate();
}
