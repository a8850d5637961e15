/// \file
/// Closes the gate of logging when the process ends, and holds it while the process forks (LogGate.h).
/// Nothing calls this file: the loader runs its constructor, which registers the rest.

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include <pthread.h>
#include <unistd.h>

#include <brn_mesh_kernel/library/Process.h>
#include <brn_mesh_kernel/logging/LogGate.h>

namespace Brennic::Core {

namespace {

bool g_isChild = false;       // of a fork since the library was loaded
bool g_isExitWatched = false; // guarded by the gate's hold
bool g_isExiting = false;
int g_exitStatus = 0;

// endLogging() needs the exit status, which atexit() does not hand over and on_exit() does. Called by exit()
// long before the libraries end, as the first fork registers it.
void keepExitStatus(int status, void* /*unused*/)
{
    g_isExiting = true;
    g_exitStatus = status;
}

void holdGate()
{
    LogGate::instance().hold();
    g_isExitWatched = g_isExitWatched || ::on_exit(&keepExitStatus, nullptr) == 0;
}

void releaseGate()
{
    LogGate::instance().release();
}

void releaseGateInChild()
{
    g_isChild = true;
    LogGate::instance().releaseInChild();
}

void flushStandardStreams()
{
    std::cout.flush();
    std::clog.flush();
    std::wcout.flush();
    std::wclog.flush();
    std::fflush(nullptr);
}

// After this log4cplus ends, by its destructors. In a forked child they would never return: they wait for
// threads of log4cplus that only the parent has. By now the program's own exit handlers and static objects
// are done, so the child ends here, before the libraries do.
void endLogging()
{
    LogGate::instance().close();
    if (!g_isChild || !g_isExiting)
        return;
    flushStandardStreams();
    ::_exit(g_exitStatus);
}

// Exit handlers run in reverse order. The loader has set log4cplus up before this library, which links it, so
// log4cplus has registered its end before and ends after endLogging().
[[gnu::constructor]] void watchForkAndExit()
{
    LogGate::instance();
    callAtExit(&endLogging);
    const int failure = ::pthread_atfork(&holdGate, &releaseGate, &releaseGateInChild);
    static_cast<void>(failure); // out of memory while loading: what comes next says so
}

} // namespace

} // namespace Brennic::Core
