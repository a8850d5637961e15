#include <brn_mesh_common/minidump/HelperProcess_linux.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <ucontext.h>

#include <brn_mesh_common/minidump/SignalAction_linux.h>
#include <brn_mesh_common/minidump/SignalMask_linux.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace Brennic::Minidump {

namespace {

constexpr int firstPrivateDescriptor = 3;
constexpr std::int64_t timeToEnd = 100;

alignas(64) std::array<std::byte, 0x40000> g_stack;

// The default action would write a core of the memory that we share, and could take the crashed process
// along.
void onFault(int /*signal*/, siginfo_t* /*information*/, void* /*context*/)
{
    systemCall(SYS_exit_group, 1);
}

// A sandbox that answers a call with a signal: to the caller it looks like a call that the system does not
// have.
void onForbiddenCall(int /*signal*/, siginfo_t* /*information*/, void* context)
{
    static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RAX] = -ENOSYS;
}

SignalMask allButFaults()
{
    return SignalMask::all().without(
        SignalMask::of({SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}));
}

// The C library's function of this kind is replaced by some tools. The child runs the function on its own stack,
// and does not return.
long cloneProcess(long flags, void* stackTop, const void* childId, void (*function)(void*), void* argument)
{
    long result = SYS_clone;
    register const void* r10 asm("r10") = childId;
    register long r8 asm("r8") = 0; // thread-local storage: the parent's
    asm volatile("syscall\n\t"
                 "test %%rax, %%rax\n\t"
                 "jnz 1f\n\t"
                 "xor %%ebp, %%ebp\n\t" // where backtraces end
                 "mov %[argument], %%rdi\n\t"
                 "call *%[function]\n\t"
                 "hlt\n"
                 "1:"
                 : "+a"(result)
                 : "D"(flags), "S"(stackTop), "d"(0L), "r"(r10),
                   "r"(r8), [function] "b"(function), [argument] "r"(argument)
                 : "rcx", "r11", "memory");
    return result;
}

void handleFaults()
{
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT})
        SignalAction::calling(onFault).applyTo(signal);
    SignalAction::calling(onForbiddenCall).applyTo(SIGSYS);
    // Not ignored: the stops of traced threads are announced by it.
    SignalAction::byDefault().applyTo(SIGCHLD);
}

} // namespace

HelperEnd HelperProcess::run(const Deadline& deadline)
{
    // The helper inherits it: no handler of the host may run there, should the terminal send it a signal.
    const SignalMask before = allButFaults().apply(SIG_SETMASK);
    const bool isStarted = start();
    before.apply(SIG_SETMASK);
    if (!isStarted)
        return HelperEnd::NotStarted;
    // Some systems let a process be traced by its descendants or by whom it names, and nobody else.
    const bool isNamed = systemCall(SYS_prctl, PR_SET_PTRACER, m_id, 0, 0, 0) == 0;
    m_mayRun = 1;
    wakeAll(m_mayRun);
    waitWhileEqual(m_isAlive, 1, deadline);
    end();
    if (isNamed)
        systemCall(SYS_prctl, PR_SET_PTRACER, 0, 0, 0, 0);
    return m_hasReturned ? HelperEnd::Returned : HelperEnd::Failed;
}

bool HelperProcess::start()
{
    const int flags = CLONE_VM | CLONE_FS | CLONE_UNTRACED | CLONE_CHILD_CLEARTID;
    void* const stackTop = g_stack.data() + g_stack.size();
    m_id = static_cast<std::int32_t>(cloneProcess(flags, stackTop, &m_isAlive, enter, this));
    return m_id > 0;
}

void HelperProcess::enter(void* self)
{
    handleFaults();
    systemCall(SYS_close_range, firstPrivateDescriptor, ~0U, 0); // they may be used up, and none is ours
    auto& helper = *static_cast<HelperProcess*>(self);
    waitWhileEqual(helper.m_mayRun, 0, Deadline(timeToEnd));
    helper.m_function(helper.m_argument);
    helper.m_hasReturned = true;
    systemCall(SYS_exit_group, 0);
}

void HelperProcess::end()
{
    if (m_isAlive != 0)
        systemCall(SYS_kill, m_id, SIGKILL);
    const Deadline deadline(timeToEnd);
    while (systemCall(SYS_wait4, m_id, nullptr, __WALL | WNOHANG, nullptr) == 0 && !deadline.hasPassed())
        sleepMicroseconds(20);
}

} // namespace Brennic::Minidump
