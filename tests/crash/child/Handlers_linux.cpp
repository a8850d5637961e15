#include "crash/child/PlatformReactions.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string_view>

#include <fcntl.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include "crash/child/Crashes.h"

namespace Brennic::Testing {

namespace {

bool waitForEver()
{
    for (;;)
        pause();
}

bool forkAndCrash()
{
    const pid_t child = fork();
    if (child == 0)
        crash("null-write");
    int status = 0;
    waitpid(child, &status, 0);
    return true;
}

// Whether the thread may be ended by a signal that its handler holds back, as processes started here would be.
bool dieOfTermination()
{
    return raise(SIGTERM) == 0;
}

bool noteThread(const std::filesystem::path& directory)
{
    std::ofstream(directory / "thread") << gettid();
    return true;
}

bool endThread()
{
    pthread_exit(nullptr);
}

} // namespace

void writeDown(const std::filesystem::path& file, const char* text)
{
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const auto size = static_cast<ssize_t>(std::string_view(text).size());
    if (write(descriptor, text, static_cast<std::size_t>(size)) != size)
        std::_Exit(92);
    close(descriptor);
}

const Reactions& platformReactions()
{
    static const Reactions table{
        {"wait", [](const auto&) { return waitForEver(); }},
        {"fork-and-crash", [](const auto&) { return forkAndCrash(); }},
        {"terminate", [](const auto&) { return dieOfTermination(); }},
        {"end-thread", [](const auto&) { return endThread(); }},
        {"note-thread", noteThread},
    };
    return table;
}

} // namespace Brennic::Testing
