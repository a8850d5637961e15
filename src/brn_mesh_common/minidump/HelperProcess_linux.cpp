#include <brn_mesh_common/minidump/HelperProcess_linux.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <ucontext.h>

#include <brn_mesh_common/minidump/SignalMask_linux.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>

// Where a signal handler returns to: on this platform the kernel expects the program to bring that code.
extern "C" void brnReturnFromSignal();
asm(".pushsection .text\n"
    ".globl brnReturnFromSignal\n"
    ".hidden brnReturnFromSignal\n"
    ".type brnReturnFromSignal, @function\n"
    "brnReturnFromSignal:\n\t"
    "mov $15, %eax\n\t" // rt_sigreturn
    "syscall\n"
    ".size brnReturnFromSignal, . - brnReturnFromSignal\n"
    ".popsection");

// AddressSanitizer's, where the library is built with it; else there is none.
extern "C" [[gnu::weak]] void __asan_unpoison_memory_region( // NOLINT(*-reserved-identifier)
    const volatile void* memory, std::size_t size);

namespace Brennic::Minidump {

namespace {

// What a process does with a signal, as the kernel keeps it.
//
// We cannot use the C library's `sigaction`: tools that replace it keep the handlers in the process's memory. The
// helper shares that memory, so it would change the handlers of the crashed process as well.
class SignalAction
{
public:
    using Handler = void (*)(int signal, siginfo_t* information, void* context);

    static SignalAction byDefault() { return SignalAction(nullptr, 0); }
    static SignalAction calling(Handler handler) { return SignalAction(handler, SA_SIGINFO); }

    /// \return whether the system has accepted it.
    bool applyTo(int signal) const
    {
        return systemCall(SYS_rt_sigaction, signal, &m_record, nullptr, sizeof(m_record.mask)) == 0;
    }

private:
    static constexpr std::uint64_t hasRestorer =
        0x04000000; // SA_RESTORER, which the C library does not declare

    // As the kernel lays it out.
    struct Record
    {
        Handler handler;
        std::uint64_t flags;
        void (*restorer)();
        std::uint64_t mask;
    };

    SignalAction(Handler handler, std::uint64_t flags)
        : m_record{handler, flags | hasRestorer, brnReturnFromSignal, 0}
    {
    }

    Record m_record;
};

constexpr int firstPrivateDescriptor = 3;
// Milliseconds.
constexpr std::int64_t timeToBegin = 1000;
constexpr std::int64_t timeToEnd = 1000;
// Nanoseconds of processor time that count as progress.
constexpr std::int64_t leastUse = 1'000'000;

alignas(64) std::array<std::byte, 0x40000> g_stack;

// The state of the running helper, for its signal handlers, which have no other way to find it.
std::atomic<std::atomic<std::uint32_t>*> g_state{nullptr};

// A sandbox may raise SIGSYS for a forbidden system call. Make the call return ENOSYS instead, as if the system
// did not have it.
void onForbiddenCall(int /*signal*/, siginfo_t* /*information*/, void* context)
{
    static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RAX] = -ENOSYS;
}

SignalMask allButFaults()
{
    return SignalMask::all().without(
        SignalMask::of({SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}));
}

// Some tools replace the C library's clone(), so this makes the system call itself. The child runs the function
// on its own stack and does not return.
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

} // namespace

HelperEnd HelperProcess::run(const TimeLimit& limit)
{
    g_state = &m_state;
    // The helper inherits the mask: should the terminal send it a signal, no handler of the host may run there.
    const SignalMask before = allButFaults().apply(SIG_SETMASK);
    const bool isStarted = start();
    before.apply(SIG_SETMASK);
    if (!isStarted)
        return HelperEnd::NotStarted;
    // Some systems allow only descendants to trace a process, and the one process that it names here.
    const bool isNamed = systemCall(SYS_prctl, PR_SET_PTRACER, m_id, 0, 0, 0) == 0;
    m_mayRun = 1;
    wakeAll(m_mayRun);
    StandstillWatch watch(processorClockOfProcess(m_id), limit, leastUse);
    waitWhileEqual(m_state, Alive, watch);
    end();
    if (isNamed)
        systemCall(SYS_prctl, PR_SET_PTRACER, 0, 0, 0, 0);
    if (m_isForbidden)
        return HelperEnd::NotStarted;
    return m_hasReturned ? HelperEnd::Returned : HelperEnd::Failed;
}

bool HelperProcess::start()
{
    // Without CLONE_UNTRACED a debugger that follows new processes would stop the helper. With
    // CLONE_CHILD_CLEARTID the kernel clears m_state and wakes its waiters when the helper has ended, however it
    // ended.
    const int flags = CLONE_VM | CLONE_FS | CLONE_UNTRACED | CLONE_CHILD_CLEARTID;
    // A helper that was killed has left AddressSanitizer's marks of its variables on the stack.
    if (__asan_unpoison_memory_region != nullptr)
        __asan_unpoison_memory_region(g_stack.data(), g_stack.size());
    void* const stackTop = g_stack.data() + g_stack.size();
    m_id = static_cast<std::int32_t>(cloneProcess(flags, stackTop, &m_state, enter, this));
    return m_id > 0;
}

void HelperProcess::enter(void* self)
{
    static_cast<HelperProcess*>(self)->work();
    endSelf();
}

void HelperProcess::work()
{
    // The helper must not outlive the crashed process, which may be killed meanwhile. getppid() below finds one
    // that was killed before this call.
    systemCall(SYS_prctl, PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    // The seccomp filter of a tracer makes system calls fail in processes that it does not trace, such as this one.
    m_isForbidden = !handleFaults();
    if (m_isForbidden || systemCall(SYS_getppid) != m_parent)
        return;
    systemCall(SYS_close_range, firstPrivateDescriptor, ~0U,
               0); // the process may have used up all descriptors; the copies here are not needed
    waitWhileEqual(m_mayRun, 0, Deadline(timeToBegin));
    m_function(m_argument);
    m_hasReturned = true;
}

bool HelperProcess::handleFaults()
{
    bool isDone = true;
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT})
        isDone = SignalAction::calling(onFault).applyTo(signal) && isDone;
    SignalAction::calling(onForbiddenCall).applyTo(SIGSYS);
    // It must not be ignored: it announces the stops of traced threads.
    SignalAction::byDefault().applyTo(SIGCHLD);
    return isDone;
}

// The default action of a fault would write a core dump of the shared memory, and the kernel kills all processes that
// share the memory for that, the crashed one too.
void HelperProcess::onFault(int /*signal*/, siginfo_t* /*information*/, void* /*context*/)
{
    endSelf();
}

// Wakes the waiting process first: it kills the helper if a sandbox forbids every way to exit.
void HelperProcess::endSelf()
{
    std::atomic<std::uint32_t>& state = *g_state;
    state = Finished;
    wakeAll(state);
    for (;;) {
        systemCall(SYS_exit_group, 0);
        systemCall(SYS_exit, 0);
        systemCall(SYS_kill, processId(), SIGKILL);
        systemCall(SYS_pause);
    }
}

// Also reaps the helper, so that no zombie stays behind after a dump without a crash.
void HelperProcess::end()
{
    if (m_state != Gone)
        systemCall(SYS_kill, m_id, SIGKILL);
    const Deadline deadline(timeToEnd);
    while (systemCall(SYS_wait4, m_id, nullptr, __WALL | WNOHANG, nullptr) == 0 && !deadline.hasPassed())
        sleepMicroseconds(20);
}

} // namespace Brennic::Minidump
