#pragma once
/// \file
/// Internal, not installed. The signals of a process that dies of itself, and how it dies of one.

#include <csignal>
#include <ucontext.h>

#include <brn_mesh_common/minidump/SignalMask_linux.h>

namespace Brennic::Core {

constexpr int crashSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT};

inline Minidump::SignalMask crashSignalMask()
{
    return Minidump::SignalMask::of({SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT});
}

// The next two have the process die of a signal as if nobody had caught it: exit status, core dump and an attached
// debugger see the original signal with its original cause. Safe in a signal handler.

/// The process dies as soon as the signal handler that calls this, for its own signal, returns: at the
/// instruction that was interrupted.
void letDefaultActionFollow(const siginfo_t& information, ucontext_t& context);

/// The process dies at once.
[[noreturn]] void dieByDefaultAction(const siginfo_t& information);

} // namespace Brennic::Core
