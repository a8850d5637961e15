// A level for each module, that changes while the program runs.
#include <atomic>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/Log.h>

namespace {

using namespace Brennic::Core;

// From which level on a module's records are written. The kernel's own level is the lowest of all.
std::atomic<EKvsLogLevel> g_readerLevel{Info};
std::atomic<EKvsLogLevel> g_smootherLevel{Info};

} // namespace

// The text in front and the format are literals, which the compiler joins before it reads them.
#define MODULE_LOG(moduleLevel, module, level, ...)                                                          \
    do {                                                                                                     \
        if ((level) >= (moduleLevel).load(std::memory_order_relaxed))                                        \
            BRN_LOG(level, module ": " __VA_ARGS__);                                                         \
    } while (false)
#define READER_LOG(level, ...) MODULE_LOG(g_readerLevel, "reader", level, __VA_ARGS__)
#define SMOOTHER_LOG(level, ...) MODULE_LOG(g_smootherLevel, "smoother", level, __VA_ARGS__)

int main()
{
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(L"host.log");
    kernel.SetLogMessageFormat(L"%-5p %m%n");
    kernel.SetLogLevel(Trace); // what is written is up to the modules
    kernel.Initialize();
    g_readerLevel = Debug;
    READER_LOG(Debug, "{} faces", 69451);
    SMOOTHER_LOG(Debug, "left out");
    SMOOTHER_LOG(Info, "Pass {} of {}", 1, 10);
    g_readerLevel = Off;
    READER_LOG(Error, "left out");
    kernel.SetLogLevel(Off); // Terminate() logs waypoints, which have no module
    kernel.Terminate();
}
