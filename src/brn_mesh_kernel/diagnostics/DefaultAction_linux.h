#pragma once
/// \file
/// Internal, not installed. Has a process die of a signal as if nobody had caught it: exit status, core dump
/// and an attached debugger see the original signal with its original cause. Safe in a signal handler.

#include <csignal>
#include <ucontext.h>

namespace Brennic::Core {

/// The process dies as soon as the signal handler that calls this, for its own signal, returns: at the
/// instruction that was interrupted.
void letDefaultActionFollow(const siginfo_t& information, ucontext_t& context);

/// The process dies at once.
[[noreturn]] void dieByDefaultAction(const siginfo_t& information);

} // namespace Brennic::Core
