/// \file
/// The end of logging, and what a fork means for it.

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include <pthread.h>
#include <unistd.h>

#include <brn_mesh_kernel/logging/LogGate.h>

namespace Brennic::Core {

namespace {

bool g_isChild = false;       // of a fork since the library was loaded
bool g_isExitWatched = false; // guarded by the gate's hold
bool g_isExiting = false;
int g_exitStatus = 0;

// Called by exit() long before the libraries end, as it is registered by the first fork.
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

// log4cplus ends next. In a forked child that end would never come: it waits for threads of log4cplus that only the parent
// has. The program itself has ended by now, its exit handlers and static objects too, and the child ends here, before the
// libraries.
void endLogging()
{
    LogGate::instance().close();
    if (!g_isChild || !g_isExiting)
        return;
    flushStandardStreams();
    ::_exit(g_exitStatus);
}

// What log4cplus does at its end it has registered already: the loader has set it up first.
[[gnu::constructor]] void watchForkAndExit()
{
    LogGate::instance();
    static_cast<void>(std::atexit(&endLogging));
    const int failure = ::pthread_atfork(&holdGate, &releaseGate, &releaseGateInChild);
    static_cast<void>(failure); // out of memory while loading: what comes next says so
}

} // namespace

} // namespace Brennic::Core
