#pragma once
/// \file
/// Internal, not installed. The signals that mean a crash, and how the process dies of one.

#include <csignal>
#include <ucontext.h>

#include <brn_mesh_common/minidump/SignalMask_linux.h>

namespace Brennic::Core {

constexpr int crashSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT};

inline Minidump::SignalMask crashSignalMask()
{
    return Minidump::SignalMask::of({SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT});
}

// The next two make the process die of a signal as if no handler were installed: exit status, core dump and
// debugger show the original signal and its cause. Safe in a signal handler.

/// Makes the process die as soon as the calling signal handler returns, at the instruction that was
/// interrupted.
void letDefaultActionFollow(const siginfo_t& information, ucontext_t& context);

/// Makes the process die at once.
[[noreturn]] void dieByDefaultAction(const siginfo_t& information);

} // namespace Brennic::Core
