// A host that ends while its threads log. Takes the path of its log file and the name of a scene; ends with 7.
#include <cstdlib>
#include <string>
#include <thread>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_kernel/kernel/Kernel.h>

#include "programs/BusyLoggers.h"
#include "programs/Check.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

constexpr int exitCode = 7;

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
