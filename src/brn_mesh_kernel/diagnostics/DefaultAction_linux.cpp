#include <brn_mesh_kernel/diagnostics/DefaultAction_linux.h>

#include <brn_mesh_common/minidump/SignalMask_linux.h>
#include <brn_mesh_common/minidump/Syscall_linux.h>

namespace Brennic::Core {

namespace {

using Minidump::SignalMask;
using Minidump::systemCall;

constexpr int exitCodeOfSignals = 128; // as shells report them
constexpr int firstProcess = 1;

void setDefaultAction(int signal)
{
    struct sigaction action
    {
    };
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
}

bool sendToSelf(const siginfo_t& information)
{
    const auto process = Minidump::processId();
    const auto thread = Minidump::threadId();
    const int signal = information.si_signo;
    return systemCall(SYS_rt_tgsigqueueinfo, process, thread, signal, &information) == 0 ||
           systemCall(SYS_tgkill, process, thread, signal) == 0;
}

[[noreturn]] void exitInstead(int signal)
{
    for (;;)
        systemCall(SYS_exit_group, exitCodeOfSignals + signal);
}

} // namespace

void letDefaultActionFollow(const siginfo_t& information, ucontext_t& context)
{
    const SignalMask own = SignalMask::of({information.si_signo});
    own.apply(SIG_BLOCK); // until the handler returns
    setDefaultAction(information.si_signo);
    // The first process of a container does not die of its own signals.
    if (Minidump::processId() == firstProcess || !sendToSelf(information))
        exitInstead(information.si_signo);
    sigdelset(&context.uc_sigmask, information.si_signo);
}

void dieByDefaultAction(const siginfo_t& information)
{
    setDefaultAction(information.si_signo);
    sendToSelf(information);
    SignalMask::of({information.si_signo}).apply(SIG_UNBLOCK);
    exitInstead(information.si_signo);
}

} // namespace Brennic::Core
