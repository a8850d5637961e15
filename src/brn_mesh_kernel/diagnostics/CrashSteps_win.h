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
    /// \param hasStack false if the thread has only enough stack to wait, as after its overflow: the handler is then called
    ///        on another one.
    void run(_EXCEPTION_POINTERS* exception, bool hasStack);

    /// Lets the process end when the calling thread does, which is about to call the handler.
    void endWithThisThread();

    /// Whether the calling thread is one of those that take the steps.
    bool isOnOwnThread() const;
    /// For one of those threads that has crashed: goes on with the next step, and stops this one.
    [[noreturn]] void giveUpStep();

private:
    void callHandler(bool hasStack);

    DWORD m_endOfThread = FLS_OUT_OF_INDEXES; // a thread with a value there has a handler to come back from
    CrashThread m_reportThread;
    CrashThread m_handlerThread; // for what needs stack or may hang
    CrashThread m_watchThread;
};

} // namespace Brennic::Core
