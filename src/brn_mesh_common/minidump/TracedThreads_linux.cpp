#include <brn_mesh_common/minidump/TracedThreads_linux.h>

#include <cerrno>
#include <csignal>

#include <brn_mesh_common/minidump/MachineRecords_linux.h>
#include <brn_mesh_common/minidump/ProcFile_linux.h>
#include <brn_mesh_common/minidump/SignalMask_linux.h>
#include <brn_mesh_common/minidump/ThreadPlace_linux.h>
#include <elf.h>
#include <linux/ptrace.h>
#include <sys/uio.h>
#include <sys/wait.h>

namespace Brennic::Minidump {

namespace {

template <typename Registers>
bool readRegisterSet(std::int32_t id, long set, Registers& registers)
{
    iovec buffer{&registers, sizeof registers};
    return systemCall(SYS_ptrace, PTRACE_GETREGSET, id, set, &buffer) == 0;
}

// The system sends SIGCHLD for each thread that stops. It is blocked, so rt_sigtimedwait serves as a wait with a
// limit.
void waitForChildSignal()
{
    const SignalMask child = SignalMask::of({SIGCHLD});
    const timespec timeout = toTimespec(20'000'000);
    systemCall(SYS_rt_sigtimedwait, child.words(), nullptr, &timeout, SignalMask::size);
}

} // namespace

TracedThreads::TracedThreads(std::int32_t process, ThreadList& threads)
    : m_process(process), m_threads(threads)
{
}

TracedThreads::~TracedThreads()
{
    for (const CapturedThread& thread : m_threads)
        systemCall(SYS_ptrace, PTRACE_DETACH, thread.id, nullptr, thread.pendingSignal);
}

bool TracedThreads::stop(const Deadline& deadline)
{
    // Threads that still run may start new ones, so this repeats until a pass finds none.
    while (seizeNewThreads() && !deadline.hasPassed())
        waitForStops(deadline);
    m_threads.removeEnded();
    for (CapturedThread& thread : m_threads) {
        readRegisters(thread);
        findCrash(thread);
        findWaitingPlace(m_process, thread);
    }
    return m_seized != 0 || !m_isRefused;
}

bool TracedThreads::seizeNewThreads()
{
    const std::size_t seizedBefore = m_seized;
    TaskDirectory tasks(m_process);
    while (const std::int32_t id = tasks.next()) {
        if (m_threads.find(id) == nullptr)
            seize(id);
    }
    return m_seized != seizedBefore;
}

void TracedThreads::seize(std::int32_t id)
{
    const long result = systemCall(SYS_ptrace, PTRACE_SEIZE, id, nullptr, nullptr);
    if (result == -ESRCH || (result < 0 && readThreadStatus(m_process, id).hasEnded))
        return;
    if (m_threads.add(id) == nullptr)
        return;
    m_isRefused = m_isRefused || result < 0;
    if (result < 0)
        return;
    systemCall(SYS_ptrace, PTRACE_INTERRUPT, id, nullptr, nullptr);
    ++m_seized;
    ++m_running;
}

void TracedThreads::waitForStops(const Deadline& deadline)
{
    while (m_running != 0 && !deadline.hasPassed()) {
        int status = 0;
        const long id = systemCall(SYS_wait4, -1, &status, __WALL | WNOHANG, nullptr);
        if (id == -ECHILD)
            break;
        if (id > 0)
            noteStatus(static_cast<std::int32_t>(id), status);
        else
            waitForChildSignal();
    }
}

void TracedThreads::noteStatus(std::int32_t id, int status)
{
    CapturedThread* const thread = m_threads.find(id);
    if (thread == nullptr)
        return;
    --m_running;
    thread->hasRegisters = WIFSTOPPED(status);
    thread->hasEnded = !thread->hasRegisters;
    // The thread may also have stopped because a signal is being delivered; it receives that signal when it is
    // detached.
    if (thread->hasRegisters && status >> 16 != PTRACE_EVENT_STOP)
        thread->pendingSignal = WSTOPSIG(status);
}

void TracedThreads::readRegisters(CapturedThread& thread)
{
    if (!thread.hasRegisters ||
        &thread == m_threads.begin()) // the registers of the crashing thread come from its signal handler
        return;
    user_regs_struct general{};
    user_fpregs_struct floatingPoint{};
    thread.hasRegisters = readRegisterSet(thread.id, NT_PRSTATUS, general);
    readRegisterSet(thread.id, NT_PRFPREG, floatingPoint);
    if (thread.hasRegisters)
        thread.context = toContext(general, floatingPoint);
}

} // namespace Brennic::Minidump
