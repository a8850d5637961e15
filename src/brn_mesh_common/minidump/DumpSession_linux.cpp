#include <brn_mesh_common/minidump/DumpSession_linux.h>

#include <brn_mesh_common/minidump/RaisedLimits_linux.h>
#include <brn_mesh_common/minidump/RegisterContext_linux.h>
#include <brn_mesh_common/minidump/SignalMask_linux.h>
#include <brn_mesh_common/minidump/SignalledThreads_linux.h>
#include <brn_mesh_common/minidump/TracedThreads_linux.h>

namespace Brennic::Minidump {

namespace {

// Milliseconds, of which the first way leaves some to the others.
constexpr std::int64_t timeForDump = 5000;
constexpr std::int64_t timeForHelper = 3000;
constexpr std::int64_t timeForLastHelper = 1000;
// They have to run for it, and one of idle priority gets no time for long while others work.
constexpr std::int64_t timeToStopThreads = 1500;

// A write past the limit for file sizes sends a signal, besides failing.
class BlockedFileSizeSignal
{
public:
    BlockedFileSizeSignal() : m_before(signal().apply(SIG_BLOCK)) {}
    ~BlockedFileSizeSignal()
    {
        const timespec atOnce{};
        systemCall(SYS_rt_sigtimedwait, signal().words(), nullptr, &atOnce, SignalMask::size);
        m_before.apply(SIG_SETMASK);
    }
    BlockedFileSizeSignal(const BlockedFileSizeSignal&) = delete;
    BlockedFileSizeSignal& operator=(const BlockedFileSizeSignal&) = delete;

private:
    static SignalMask signal() { return SignalMask::of({SIGXFSZ}); }

    SignalMask m_before;
};

} // namespace

DumpSession::DumpSession(Workspace& workspace, const siginfo_t* exception, const ucontext_t& context,
                         const wchar_t* path)
    : m_workspace(workspace), m_context(context), m_path(path), m_deadline(timeForDump)
{
    m_workspace.snapshot.process = processId();
    m_workspace.snapshot.exception = exception;
}

bool DumpSession::run()
{
    const BlockedFileSizeSignal blockedSignal;
    return writeWithTracedThreads() || writeWithSignalledThreads() || writeCallingThread();
}

bool DumpSession::writeWithTracedThreads()
{
    keepCallingThreadOnly();
    m_isTraceRefused = runHelper(Threads::Traced, Extent::Full) == HelperEnd::NotStarted || m_isTraceRefused;
    return m_isWritten;
}

bool DumpSession::writeWithSignalledThreads()
{
    if (!m_isTraceRefused)
        return false;
    keepCallingThreadOnly();
    SignalledThreads threads(m_workspace.snapshot.process, m_workspace.snapshot.threads);
    threads.stop(Deadline(timeToStopThreads));
    if (runHelper(Threads::Known, Extent::Full) == HelperEnd::NotStarted)
        write();
    return m_isWritten;
}

bool DumpSession::writeCallingThread()
{
    keepCallingThreadOnly();
    if (runHelper(Threads::Known, Extent::CallingThread) == HelperEnd::NotStarted)
        write();
    return m_isWritten;
}

void DumpSession::keepCallingThreadOnly()
{
    ThreadList& threads = m_workspace.snapshot.threads;
    threads.clear();
    CapturedThread* const own = threads.add(threadId());
    own->hasRegisters = true;
    own->context = toContext(m_context);
}

HelperEnd DumpSession::runHelper(Threads threads, Extent extent)
{
    m_threads = threads;
    m_extent = extent;
    HelperProcess helper(helperMain, this);
    return helper.run(Deadline(extent == Extent::Full ? timeForHelper : timeForLastHelper));
}

void DumpSession::helperMain(void* self)
{
    static_cast<DumpSession*>(self)->captureAndWrite();
}

void DumpSession::captureAndWrite()
{
    if (m_threads == Threads::Known) {
        write();
        return;
    }
    TracedThreads threads(m_workspace.snapshot.process, m_workspace.snapshot.threads);
    m_isTraceRefused = !threads.stop(Deadline(timeToStopThreads));
    if (!m_isTraceRefused)
        write();
}

void DumpSession::write()
{
    const RaisedLimits limits;
    Snapshot& snapshot = m_workspace.snapshot;
    snapshot.map.load();
    snapshot.modules.load(snapshot.map);
    m_isWritten = m_workspace.output.write(snapshot, m_path, m_extent);
}

} // namespace Brennic::Minidump
