// A host that logs while the ground moves: without readers, at the end of the process, around forks. Takes the path of its log
// file and the name of a scene; ends with 0 if everything came as expected.
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_kernel/kernel/Kernel.h>

#include "programs/BusyLoggers.h"
#include "programs/Check.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

std::atomic<bool> isEndDelayed{false};

// Runs when everything else has ended, libraries too: the threads that log go on beyond that.
void delayTheEnd(int /*status*/, void* /*unused*/)
{
    constexpr int enough = 2000;
    if (!isEndDelayed)
        return;
    const int before = busyRecords;
    while (busyRecords - before < enough)
        std::this_thread::yield();
    log(L"from the very end");
    CHECK(Kernel::Instance().SetLogLevel(Info) == Success);
    Kernel::Instance().LogLevel();
    Kernel::Instance().Initialize();
}

// What is registered first runs last: this comes before the constructors of the libraries.
void watchTheEnd(int /*count*/, char** /*arguments*/, char** /*environment*/)
{
    CHECK(::on_exit(&delayTheEnd, nullptr) == 0);
}
[[gnu::used, gnu::section(".preinit_array")]] void (*const g_first)(int, char**, char**) = &watchTheEnd;

/// Has both standard streams write into a pipe.
std::array<int, 2> makePipeOfStandardStreams()
{
    std::array<int, 2> ends{};
    CHECK(::pipe(ends.data()) == 0);
    CHECK(::dup2(ends[1], STDOUT_FILENO) >= 0 && ::dup2(ends[1], STDERR_FILENO) >= 0);
    ::close(ends[1]);
    return ends;
}

int logWithoutReaders()
{
    ::close(makePipeOfStandardStreams()[0]);
    for (int i = 0; i < 100; ++i)
        log(L"record");
    return 0;
}

int logIntoPipesThatNobodyReads()
{
    makePipeOfStandardStreams();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int record = 0; record < 2000; ++record)
                log(L"record");
        });
    for (std::thread& thread : threads)
        thread.join();
    return 0;
}

int leaveMainWhileThreadsLog()
{
    startLoggers();
    isEndDelayed = true;
    return 0;
}

int exitFromThreadWhileOthersLog()
{
    startLoggers();
    isEndDelayed = true;
    std::thread([] { std::exit(0); }).join();
    return 1;
}

/// Runs the function in a child, and returns the status that it ends with; a child that takes long is ended.
int inChild(const std::function<void()>& function)
{
    constexpr unsigned limitInSeconds = 20;
    const pid_t child = ::fork();
    CHECK(child >= 0);
    if (child == 0) {
        ::alarm(limitInSeconds);
        function();
        ::_exit(99);
    }
    int status = -1;
    CHECK(::waitpid(child, &status, 0) == child);
    return status;
}

int exitFromChild()
{
    std::atexit([] { log(L"from an exit handler"); });
    std::printf("printed "); // kept by the C library: the child has it too
    const int status = inChild([] {
        log(L"from the child");
        std::exit(7);
    });
    CHECK(WIFEXITED(status));
    CHECK(WEXITSTATUS(status) == 7);
    return 0;
}

int forkWhileThreadsLog()
{
    startLoggers();
    for (int i = 0; i < 50; ++i) {
        const int status = inChild([] {
            log(L"from the child");
            std::exit(0);
        });
        CHECK(WIFEXITED(status));
        CHECK(WEXITSTATUS(status) == 0);
    }
    ::_exit(0);
}

const std::map<std::string, int (*)()> scenes{
    {"logWithoutReaders", &logWithoutReaders},
    {"logIntoPipesThatNobodyReads", &logIntoPipesThatNobodyReads},
    {"leaveMainWhileThreadsLog", &leaveMainWhileThreadsLog},
    {"exitFromThreadWhileOthersLog", &exitFromThreadWhileOthersLog},
    {"exitFromChild", &exitFromChild},
    {"forkWhileThreadsLog", &forkWhileThreadsLog},
};

} // namespace

int main(int count, char** values)
{
    CHECK(count == 3);
    const auto scene = scenes.find(values[2]);
    CHECK(scene != scenes.end());
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(boost::nowide::widen(values[1]).c_str());
    kernel.SetLogMessageFormat(L"%m%n");
    kernel.Initialize();
    return scene->second();
}
