// A host that ends while its threads log. Takes the path of its log file and the name of a scene; ends with 7.
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>

#include "programs/Check.h"

using namespace Brennic::Core;

namespace {

constexpr int exitCode = 7;

void log(const wchar_t* text)
{
    Kernel::Instance().Logger()->Log(Info, L"%s", text);
}

void startLoggers()
{
    constexpr int threadCount = 4;
    static std::atomic<int> records{0};
    for (int i = 0; i < threadCount; ++i)
        std::thread([] {
            for (;;) {
                log(L"busy");
                ++records;
            }
        }).detach();
    while (records < 100)
        std::this_thread::yield();
}

struct LogsAtItsEnd
{
    ~LogsAtItsEnd()
    {
        if (isUsed)
            log(L"from a static destructor");
    }
    bool isUsed = false;
};
LogsAtItsEnd logsAtItsEnd;

} // namespace

int main(int count, char** values)
{
    CHECK(count == 3);
    const std::string scene = values[2];
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(boost::nowide::widen(values[1]).c_str());
    kernel.SetLogMessageFormat(L"%m%n");
    kernel.Initialize();
    logsAtItsEnd.isUsed = true;
    CHECK(std::atexit([] { log(L"from an exit handler"); }) == 0);
    if (scene != "alone")
        startLoggers();
    if (scene == "thread")
        std::thread([] { std::exit(exitCode); }).join();
    return exitCode;
}
