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
// The process that installed the filter first, which the files belong to.
std::atomic<std::int32_t> g_homeProcess{0};
CrashSteps g_steps;
std::atomic<const CrashStack*> g_stackOfMainThread{nullptr};

enum class Role
{
    First,        ///< the first thread that crashes
    Failed,       ///< the same again: a step has crashed
    Report,       ///< the thread that writes the report
    Other,        ///< crashes while another thread's crash is handled
    ChildOfCrash, ///< a process that was forked while its parent's crash is handled
};

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

// A sandbox may answer a call of ours with a signal. The caller gets an error, and finds another way.
bool answerForbiddenCall(int signal, ucontext_t& context)
{
    const bool isOurs = signal == SIGSYS && g_steps.copesWithForbiddenCalls();
    if (isOurs)
        context.uc_mcontext.gregs[REG_RAX] = -ENOSYS;
    return isOurs;
}

// Others may call this as the handler that was there before theirs, and have less to pass on.
siginfo_t completeInformation(int signal, const siginfo_t* information)
{
    siginfo_t result{};
    if (information != nullptr)
        result = *information;
    result.si_signo = signal;
    return result;
}

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
    case Role::Report:
        CrashReportThread::instance().giveUp();
        Minidump::waitAsCrashed(context);
    case Role::Other:
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
    // A crash in the handling must come through; other signals must not run handlers of the host meanwhile.
    // The real-time signals are ours then.
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

// To the end of the process: the main thread's own variables are gone before that.
void guardMainThread()
{
    if (g_stackOfMainThread == nullptr)
        g_stackOfMainThread = new CrashStack;
}

void guardOtherThread()
{
    thread_local const CrashStack stack;
}

// The handlers stay for good, so their code has to.
void keepLibraryLoaded()
{
    Dl_info library{};
    if (dladdr(reinterpret_cast<void*>(&onCrashSignal), &library) != 0)
        dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

} // namespace

void CrashFilter::install(ReportWriter writeReport)
{
    std::int32_t nobody = 0;
    g_homeProcess.compare_exchange_strong(nobody, Minidump::processId());
    isMainThread() ? guardMainThread() : guardOtherThread();
    CrashReportThread::instance().start(writeReport);
    keepLibraryLoaded();
    installHandlers();
}

} // namespace Brennic::Core
