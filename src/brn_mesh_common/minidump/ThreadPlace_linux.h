#pragma once
/// \file
/// Internal, not installed. Finds where a thread is when its registers are unknown or show something else.

#include <cstdint>

#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <brn_mesh_common/minidump/ThreadList_linux.h>
#include <ucontext.h>

namespace Brennic::Minidump {

// Put into the register of a system call's first argument. SYS_pause has no arguments, so the value only marks
// the thread.
constexpr std::uint64_t crashedMark = 0x6372617368656421;

/// Blocks for ever a thread that has crashed while another thread's crash is handled. The dump shows it where it
/// crashed, not where it waits. Safe in a signal handler.
[[noreturn]] inline void waitAsCrashed(const ucontext_t& interrupted)
{
    for (;;)
        systemCall(SYS_pause, crashedMark, &interrupted);
}

/// If the thread waits in \ref waitAsCrashed, replaces its registers by those with which it crashed.
void findCrash(CapturedThread& thread);

/// If the thread has no registers but is blocked in a system call, takes stack pointer and instruction from `/proc`.
void findWaitingPlace(std::int32_t process, CapturedThread& thread);

} // namespace Brennic::Minidump
