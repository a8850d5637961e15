#include <brn_mesh_kernel/diagnostics/CrashReportThread_linux.h>

#include <cstdlib>

#include <brn_mesh_common/minidump/RaisedLimits_linux.h>
#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <brn_mesh_kernel/diagnostics/CrashSignals_linux.h>
#include <brn_mesh_kernel/diagnostics/CrashStack.h>
#include <brn_mesh_kernel/library/Process.h>
#include <fcntl.h>
#include <pthread.h>

namespace Brennic::Core {

namespace {

constexpr std::size_t firstAllocation = 4096;
constexpr std::int64_t leastUse = 1'000'000; // nanoseconds of the processor's time that are progress
constexpr std::int64_t practicallyEndless = 1'000'000'000'000;

// The first allocation on a thread makes the C library give it a heap (an arena) of its own.
void allocateOnce()
{
    void* volatile memory = std::malloc(firstAllocation);
    std::free(memory);
}

// New threads inherit the signal mask. The host's signals are to be handled on the host's threads.
class BlockedHostSignals
{
public:
    BlockedHostSignals()
        : m_before(Minidump::SignalMask::standard().without(crashSignalMask()).apply(SIG_BLOCK))
    {
    }
    ~BlockedHostSignals() { m_before.apply(SIG_SETMASK); }
    BlockedHostSignals(const BlockedHostSignals&) = delete;
    BlockedHostSignals& operator=(const BlockedHostSignals&) = delete;

private:
    Minidump::SignalMask m_before;
};

} // namespace

// Never destroyed: crashes happen during exit too.
CrashReportThread& CrashReportThread::instance()
{
    static auto* const thread = new CrashReportThread;
    return *thread;
}

void CrashReportThread::start(Work work)
{
    if (m_process == Minidump::processId())
        return;
    m_work = work;
    m_thread = 0;
    m_state = number(State::Waiting);
    m_spareDescriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const BlockedHostSignals inherited;
    if (!startThread([] { instance().main(); }))
        return; // no thread to be had: a crash goes without a report
    // A crash right after this must find the thread ready, with its own heap.
    const Minidump::Deadline deadline(1000);
    while (m_thread == 0 && !deadline.hasPassed())
        Minidump::sleepMicroseconds(20);
    m_process = Minidump::processId();
}

bool CrashReportThread::run(const wchar_t* path, const Minidump::TimeLimit& limit)
{
    if (m_process != Minidump::processId() || isCurrent())
        return false;
    m_path = path;
    Minidump::systemCall(SYS_close, m_spareDescriptor); // leaves one for the report's file
    m_state = number(State::Asked);                     // publishes m_path
    Minidump::wakeAll(m_state);
    Minidump::StandstillWatch watch(Minidump::processorClockOfThread(m_thread), limit, leastUse);
    waitWhileEqual(m_state, number(State::Asked), watch);
    return m_state == number(State::Done);
}

bool CrashReportThread::isCurrent() const
{
    return m_process == Minidump::processId() && m_thread == Minidump::threadId();
}

void CrashReportThread::main()
{
    pthread_setname_np(pthread_self(), "crash-report");
    const CrashStack crashStack; // the thread may crash too, and overflow its stack
    allocateOnce();
    m_thread = Minidump::threadId(); // start() waits for this
    while (!waitWhileEqual(m_state, number(State::Waiting), Minidump::Deadline(practicallyEndless)))
        continue;
    const Minidump::RaisedLimits limits;
    m_work(m_path);
    finish(State::Done);
    for (;;) // its end would only disturb those who look at the threads now
        Minidump::systemCall(SYS_pause);
}

void CrashReportThread::finish(State state)
{
    m_state = number(state);
    Minidump::wakeAll(m_state);
}

} // namespace Brennic::Core
