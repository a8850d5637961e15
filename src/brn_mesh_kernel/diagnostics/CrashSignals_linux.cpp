#include <brn_mesh_kernel/diagnostics/CrashSignals_linux.h>

#include <brn_mesh_common/minidump/SignalMask_linux.h>
#include <brn_mesh_common/minidump/Syscall_linux.h>

namespace Brennic::Core {

namespace {

using Minidump::SignalMask;
using Minidump::systemCall;

constexpr int exitCodeOfSignals = 128; // as shells report them
constexpr int firstProcess = 1;

// Fails in a sandbox that forbids it.
bool setDefaultAction(int signal)
{
    struct sigaction action
    {
    };
    action.sa_handler = SIG_DFL;
    return sigaction(signal, &action, nullptr) == 0;
}

// With the original information, so that a core dump and a debugger show the cause. A system that refuses to
// send forged information still sends a plain signal.
bool sendToSelf(const siginfo_t& information)
{
    const auto process = Minidump::processId();
    const auto thread = Minidump::threadId();
    const int signal = information.si_signo;
    return systemCall(SYS_rt_tgsigqueueinfo, process, thread, signal, &information) == 0 ||
           systemCall(SYS_tgkill, process, thread, signal) == 0;
}

// By system call: exit() would run exit handlers and destructors in a broken process.
[[noreturn]] void exitInstead(int signal)
{
    for (;;) {
        systemCall(SYS_exit_group, exitCodeOfSignals + signal);
        systemCall(SYS_kill, Minidump::processId(), SIGKILL); // in case a sandbox has forbidden exit_group
    }
}

} // namespace

void letDefaultActionFollow(const siginfo_t& information, ucontext_t& context)
{
    const SignalMask own = SignalMask::of({information.si_signo});
    // The signal is sent while it is blocked, and delivered when the handler returns: the core dump then
    // shows the fault.
    own.apply(SIG_BLOCK);
    // If the default action cannot be restored, our own handler would be called again and again. The first
    // process of a container ignores signals that it sends to itself.
    const bool diesOfSignal = setDefaultAction(information.si_signo) && Minidump::processId() != firstProcess;
    if (!diesOfSignal || !sendToSelf(information))
        exitInstead(information.si_signo);
    sigdelset(&context.uc_sigmask, information.si_signo);
}

// For a handler that must not return, because a failed step lies below it on the stack: the signal is
// delivered here.
void dieByDefaultAction(const siginfo_t& information)
{
    if (setDefaultAction(information.si_signo) && sendToSelf(information))
        SignalMask::of({information.si_signo}).apply(SIG_UNBLOCK);
    exitInstead(information.si_signo);
}

} // namespace Brennic::Core
