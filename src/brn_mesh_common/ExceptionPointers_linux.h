#pragma once
/// \file
/// What a signal handler knows about the exception that it handles, as `DumpMiniDump` takes it:
///
///     void onFatalSignal(int, siginfo_t* info, void* context)
///     {
///         _EXCEPTION_POINTERS exception{info, static_cast<ucontext_t*>(context)};
///         Brennic::WinUtil::DumpMiniDump(&exception, L"host.dmp");
///         ...
///     }
///
/// Only for handlers of a host's own; the crash filter of `brn_mesh_kernel` does this by itself. Both
/// pointers are the handler's arguments and live as long as it runs.

#include <csignal>
#include <ucontext.h>

/// Where and why a thread was interrupted.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name under which WinUtil.h declares it
struct _EXCEPTION_POINTERS
{
    const siginfo_t* information; ///< the signal and its cause
    const ucontext_t* context;    ///< the registers of the interrupted thread
};
