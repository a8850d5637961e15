#include <brn_mesh_kernel/diagnostics/CrashFilter.h>

#include <atomic>
#include <cerrno>
#include <cstdint>

#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <brn_mesh_common/minidump/ThreadClaim_linux.h>
#include <brn_mesh_common/minidump/ThreadPlace_linux.h>
#include <brn_mesh_kernel/diagnostics/CrashReportThread_linux.h>
#include <brn_mesh_kernel/diagnostics/CrashSignals_linux.h>
#include <brn_mesh_kernel/diagnostics/CrashStack.h>
#include <brn_mesh_kernel/diagnostics/CrashSteps_linux.h>
#include <dlfcn.h>
#include <unistd.h>

namespace Brennic::Core {

namespace {

// The thread that handles the crash.
Minidump::ThreadClaim g_claim;
// The process that installed the filter first. A forked child inherits the filter and has another process id:
// it writes files of its own, not its parent's.
std::atomic<std::int32_t> g_homeProcess{0};
CrashSteps g_steps;
std::atomic<const CrashStack*> g_stackOfMainThread{nullptr};

// What the thread that has got a crash signal is to the crash of the process.
enum class Role
{
    First,        ///< the first thread that crashes
    Failed,       ///< the same again: a step has crashed
    Report,       ///< the thread that writes the report
    Other,        ///< crashes while another thread's crash is handled
    ChildOfCrash, ///< a process that was forked while its parent's crash is handled
};

// Claims the crash if no thread has it yet. By an atomic word and not by a lock: its holder may be the thread
// that crashes again.
Role claimCrash()
{
    const Minidump::ThreadClaim::Holder first = g_claim.take();
    if (!first.isInThisProcess()) {
        const bool isParent = first.process != 0 && first.process == Minidump::systemCall(SYS_getppid);
        return isParent ? Role::ChildOfCrash : Role::First;
    }
    if (first.isThisThread())
        return Role::Failed;
    return CrashReportThread::instance().isCurrent() ? Role::Report : Role::Other;
}

void onTimeLimit(int /*signal*/, siginfo_t* information, void* /*context*/)
{
    g_steps.goOnAtTimeLimit(*information);
}

// A sandbox may raise SIGSYS for one of our own system calls. Make the call fail with ENOSYS instead: its
// caller has another way.
bool answerForbiddenCall(int signal, ucontext_t& context)
{
    const bool isOurs = signal == SIGSYS && g_steps.copesWithForbiddenCalls();
    if (isOurs)
        context.uc_mcontext.gregs[REG_RAX] = -ENOSYS;
    return isOurs;
}

// A handler installed after ours may chain to ours without the signal's details.
siginfo_t completeInformation(int signal, const siginfo_t* information)
{
    siginfo_t result{};
    if (information != nullptr)
        result = *information;
    result.si_signo = signal;
    return result;
}

// Runs on the crashing thread, on its second stack if it has one (CrashStack.h). No case falls through:
// goOn() and waitAsCrashed() do not return.
void onCrashSignal(int signal, siginfo_t* information, void* interrupted)
{
    auto& context = *static_cast<ucontext_t*>(interrupted);
    switch (claimCrash()) {
    case Role::First:
        return g_steps.run(completeInformation(signal, information), context,
                           g_homeProcess != Minidump::processId(), onTimeLimit);
    case Role::Failed:
        if (answerForbiddenCall(signal, context))
            return;
        g_steps.goOn();
    case Role::Report: // the crashing thread waits for this one, and goes on without the report
        CrashReportThread::instance().giveUp();
        Minidump::waitAsCrashed(context);
    case Role::Other: // waits where the dump finds it
        Minidump::waitAsCrashed(context);
    case Role::ChildOfCrash:
        letDefaultActionFollow(completeInformation(signal, information), context);
    }
}

void installHandlers()
{
    struct sigaction action
    {
    };
    action.sa_sigaction = onCrashSignal;
    // A crash inside the handling must be delivered, to be handled as a failed step. Handlers of the host
    // must not run meanwhile, so all other signals are blocked, except the real-time signals: we use them for
    // time limits.
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    sigfillset(&action.sa_mask);
    for (const int signal : crashSignals)
        sigdelset(&action.sa_mask, signal);
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal)
        sigdelset(&action.sa_mask, signal);
    for (const int signal : crashSignals)
        sigaction(signal, &action, nullptr);
}

bool isMainThread()
{
    return Minidump::threadId() == Minidump::processId();
}

// Never destroyed: the main thread's thread-local objects are destroyed before exit handlers run, which may
// crash too.
void guardMainThread()
{
    if (g_stackOfMainThread == nullptr)
        g_stackOfMainThread = new CrashStack;
}

// A host that initialises the kernel in another thread: there the stack goes with the thread.
void guardOtherThread()
{
    thread_local const CrashStack stack;
}

// The handlers stay installed, so their code must stay mapped.
void keepLibraryLoaded()
{
    Dl_info library{};
    if (dladdr(reinterpret_cast<void*>(&onCrashSignal), &library) != 0)
        dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

} // namespace

void CrashFilter::install(ReportWriter writeReport)
{
    std::int32_t notInstalled = 0;
    g_homeProcess.compare_exchange_strong(notInstalled, Minidump::processId());
    isMainThread() ? guardMainThread() : guardOtherThread();
    CrashReportThread::instance().start(writeReport);
    keepLibraryLoaded();
    installHandlers(); // last: from here on a crash finds all that it needs
}

} // namespace Brennic::Core
