#include <brn_mesh_common/minidump/DumpSession_linux.h>

#include <brn_mesh_common/minidump/MachineRecords_linux.h>
#include <brn_mesh_common/minidump/RaisedLimits_linux.h>
#include <brn_mesh_common/minidump/SignalMask_linux.h>
#include <brn_mesh_common/minidump/SignalledThreads_linux.h>
#include <brn_mesh_common/minidump/TracedThreads_linux.h>

namespace Brennic::Minidump {

namespace {

constexpr TimeLimit timeForHelper{3000, 20'000};
constexpr TimeLimit timeForLastHelper{1000, 5000};
// Milliseconds. A thread must be scheduled to stop, and one of idle priority may wait long for that on a busy
// machine. Less than the helper may stand still, which it does meanwhile.
constexpr std::int64_t timeToStopThreads = 2500;

// A write beyond the file size limit, or to a FIFO without a reader, raises a signal besides failing.
class BlockedWriteSignals
{
public:
    BlockedWriteSignals() : m_before(signals().apply(SIG_BLOCK)) {}
    ~BlockedWriteSignals()
    {
        const timespec atOnce{};
        while (systemCall(SYS_rt_sigtimedwait, signals().words(), nullptr, &atOnce, SignalMask::size) > 0)
            continue;
        m_before.apply(SIG_SETMASK);
    }
    BlockedWriteSignals(const BlockedWriteSignals&) = delete;
    BlockedWriteSignals& operator=(const BlockedWriteSignals&) = delete;

private:
    static SignalMask signals() { return SignalMask::of({SIGXFSZ, SIGPIPE}); }

    SignalMask m_before;
};

} // namespace

DumpSession::DumpSession(Workspace& workspace, const siginfo_t* exception, const ucontext_t& context,
                         const wchar_t* path)
    : m_workspace(workspace), m_context(context), m_path(path)
{
    m_workspace.snapshot.process = processId();
    m_workspace.snapshot.exception = exception;
}

bool DumpSession::run()
{
    const BlockedWriteSignals blockedSignals;
    DumpOutput& output = m_workspace.output;
    output.start(m_workspace.snapshot.process);
    const bool isWritten = writeWithTracedThreads() || writeWithSignalledThreads() || writeCallingThread();
    if (!isWritten) {
        output.clearAfterWriter();
        output.tellFailure(m_path);
    }
    return isWritten;
}

bool DumpSession::writeWithTracedThreads()
{
    keepCallingThreadOnly();
    runHelper(Threads::Traced, Extent::Full);
    return m_isWritten;
}

// Not tried after a helper that failed: a second one would meet the same fault.
bool DumpSession::writeWithSignalledThreads()
{
    if (m_helperEnd == HelperEnd::Failed)
        return false;
    keepCallingThreadOnly();
    SignalledThreads threads(m_workspace.snapshot.process, m_workspace.snapshot.threads);
    threads.stop(Deadline(timeToStopThreads));
    runHelper(Threads::Known, Extent::Full);
    if (!m_isWritten && m_helperEnd != HelperEnd::Failed)
        write(); // the system may allow the process what it denies the helper
    return m_isWritten;
}

bool DumpSession::writeCallingThread()
{
    keepCallingThreadOnly();
    runHelper(Threads::Known, Extent::CallingThread);
    if (!m_isWritten && m_helperEnd != HelperEnd::Failed)
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

void DumpSession::runHelper(Threads threads, Extent extent)
{
    m_threads = threads;
    m_extent = extent;
    HelperProcess helper(helperMain, this);
    m_helperEnd = helper.run(extent == Extent::Full ? timeForHelper : timeForLastHelper);
    if (!m_isWritten)
        m_workspace.output.clearAfterWriter();
}

void DumpSession::helperMain(void* self)
{
    static_cast<DumpSession*>(self)->captureAndWrite();
}

void DumpSession::captureAndWrite()
{
    const RaisedLimits limits;
    if (m_threads == Threads::Known) {
        write();
        return;
    }
    TracedThreads threads(m_workspace.snapshot.process, m_workspace.snapshot.threads);
    if (threads.stop(Deadline(timeToStopThreads)))
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
