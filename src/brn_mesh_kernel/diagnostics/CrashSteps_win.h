#pragma once
/// \file
/// Internal, not installed. The steps that the crash filter takes.

#include <brn_mesh_kernel/diagnostics/CrashFilter.h>
#include <brn_mesh_kernel/diagnostics/CrashSettings.h>
#include <brn_mesh_kernel/diagnostics/CrashThread_win.h>

namespace Brennic::Core {

class CrashSteps
{
public:
    /// The one of the process. It is never destroyed.
    static CrashSteps& instance();

    /// Makes the threads that take the steps. Thread: main thread.
    /// \param writeReport writes the waypoint report.
    void prepare(CrashFilter::ReportWriter writeReport);

    /// Takes the steps for a crash of the calling thread. Does not return if the host has a handler.
    /// \param hasStack false if the thread has only enough stack to wait, as after its overflow: the host's
    ///        handler is then called on another thread.
    void run(_EXCEPTION_POINTERS* exception, bool hasStack);

    /// Makes the process end if the calling thread ends, as the host's handler may make it do.
    void endWithThisThread();

    /// Whether the calling thread is one of those that take the steps.
    bool isOnOwnThread() const;
    /// Called on one of those threads after it has crashed: lets the next step begin, and blocks this thread
    /// for ever.
    [[noreturn]] void giveUpStep();

private:
    void callHandler(bool hasStack);

    DWORD m_endOfThread =
        FLS_OUT_OF_INDEXES; // a slot whose callback runs when a thread with a value there ends
    CrashThread m_reportThread;
    CrashThread m_handlerThread; // for what needs stack or may hang
    CrashThread m_watchThread;
};

} // namespace Brennic::Core
