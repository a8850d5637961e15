#pragma once
/// \file
/// Internal, not installed. Where a thread is, when its registers do not tell, or tell something else.

#include <cstdint>

#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <brn_mesh_common/minidump/ThreadList_linux.h>
#include <ucontext.h>

namespace Brennic::Minidump {

// In the register of a call's first argument, which the call in question does not have.
constexpr std::uint64_t crashedMark = 0x6372617368656421;

/// Blocks for ever a thread that has crashed while another one's crash is handled. The dump then shows it where it
/// has crashed, not where it waits. Safe in a signal handler.
[[noreturn]] inline void waitAsCrashed(const ucontext_t& interrupted)
{
    for (;;)
        systemCall(SYS_pause, crashedMark, &interrupted);
}

/// If the thread waits so, replaces its registers by those with which it has crashed.
void findCrash(CapturedThread& thread);

/// If nothing is known of the thread, but it waits in the system, takes stack pointer and instruction from there.
void findWaitingPlace(std::int32_t process, CapturedThread& thread);

} // namespace Brennic::Minidump
