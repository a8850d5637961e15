#include <brn_mesh_kernel/diagnostics/CrashSteps_linux.h>

#include <cstdlib>
#include <cwchar>
#include <string_view>

#include <brn_mesh_common/ExceptionPointers_linux.h>
#include <brn_mesh_common/WinUtil.h>
#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <brn_mesh_kernel/diagnostics/CrashReportThread_linux.h>
#include <brn_mesh_kernel/diagnostics/CrashSignals_linux.h>
#include <brn_mesh_kernel/diagnostics/ReportFile.h>

namespace Brennic::Core {

namespace {

using Minidump::TimeLimit;

constexpr TimeLimit timeForReport{2000, 15'000};
constexpr TimeLimit timeForDump{5500,
                                40'000}; // it keeps to less itself, but where the system allows no helper
constexpr TimeLimit timeForHeap{1000, 5000};
constexpr TimeLimit timeForHandlerWithoutHeap{5000, 5000};

// Nanoseconds of processor time that count as progress. The thread that waits for the dump's helper polls it,
// and uses more than this while the helper works.
constexpr std::int64_t leastUse = 50'000;

constexpr int exitCode = 1;

// Larger than the blocks that glibc keeps for each thread, so that the allocation needs the heap's lists and
// locks.
constexpr std::size_t trialSize = 4096;

// "host.dmp" becomes "host.1234.dmp". Formats by hand, because nothing may be allocated in a crash.
template <typename Path>
const wchar_t* insertProcessId(const std::wstring& path, Path& result)
{
    constexpr std::size_t idSize = 12;
    if (path.empty() || path.size() + idSize >= result.size())
        return L"";
    const std::size_t dot = path.rfind(L'.');
    wchar_t* next = result.data() + path.copy(result.data(), dot);
    *next++ = L'.';
    std::array<wchar_t, idSize> digits{};
    std::size_t count = 0;
    for (std::int32_t id = Minidump::processId(); id != 0; id /= 10)
        digits[count++] = static_cast<wchar_t>(L'0' + id % 10);
    while (count != 0)
        *next++ = digits[--count];
    next += path.copy(next, path.size(), dot);
    *next = L'\0';
    return result.data();
}

[[noreturn]] void exitAtOnce()
{
    for (;;) {
        Minidump::systemCall(SYS_exit_group, exitCode);
        Minidump::systemCall(SYS_kill, Minidump::processId(),
                             SIGKILL); // in case a sandbox has forbidden exit_group
    }
}

// The host's handler may show windows or start processes, which must not inherit the mask of our signal
// handler.
void restoreSignals(const ucontext_t& interrupted)
{
    Minidump::SignalMask::from(interrupted.uc_sigmask).without(crashSignalMask()).apply(SIG_SETMASK);
}

} // namespace

void CrashSteps::run(const siginfo_t& information, ucontext_t& context, bool isForked,
                     StepTimer::Handler onTimeLimit)
{
    m_information = information;
    m_context = &context;
    m_settings = &keepCrashSettings(); // one set for the whole crash, whatever the host's handler changes
    m_timer.prepare(onTimeLimit);
    chooseFiles(isForked);
    takeFrom(Step::WriteReport);
    if (m_settings->sendCrashDump != nullptr)
        exitAtOnce();
    letDefaultActionFollow(m_information, *m_context);
}

// Called in the signal handler of a step that has failed, above that step's frames. So it may not return: the
// frames below belong to the failed step.
void CrashSteps::goOn()
{
    const Step failed = m_step;
    if (failed != Step::End)
        takeFrom(static_cast<Step>(static_cast<int>(failed) + 1));
    if (m_settings != nullptr && m_settings->sendCrashDump != nullptr)
        exitAtOnce();
    dieByDefaultAction(m_information);
}

void CrashSteps::goOnAtTimeLimit(const siginfo_t& information)
{
    if (information.si_value.sival_int != static_cast<int>(m_step.load()))
        return; // the timer of an earlier step, which has ended in time
    if (m_watch.isOver())
        goOn();
    // The step makes progress: look again later.
    m_timer.start(m_watch.standingStill(), information.si_value.sival_int);
}

// A forked child must not replace the files of its parent, which may crash as well.
void CrashSteps::chooseFiles(bool isForked)
{
    m_dumpPath = isForked ? insertProcessId(m_settings->dumpFilePath, m_ownDumpPath)
                          : m_settings->dumpFilePath.c_str();
    m_reportPath = isForked ? insertProcessId(m_settings->commandLogPath, m_ownReportPath)
                            : m_settings->commandLogPath.c_str();
}

void CrashSteps::takeFrom(Step first)
{
    for (int step = static_cast<int>(first); step != static_cast<int>(Step::End); ++step) {
        m_step = static_cast<Step>(step); // before the step: goOn() continues after this one if it fails
        take(m_step);
        m_timer.stop();
    }
    m_step = Step::End;
}

void CrashSteps::take(Step step)
{
    switch (step) {
    case Step::WriteReport:
        return writeReport();
    case Step::WriteDump:
        return writeDump();
    case Step::TryHeap:
        return tryHeap();
    case Step::CallHandler:
        return callHandler();
    case Step::End:
        break;
    }
}

// On the report thread, because building the report allocates, and this thread may hold the heap's lock.
void CrashSteps::writeReport()
{
    if (*m_reportPath != L'\0' && !CrashReportThread::instance().run(m_reportPath, timeForReport))
        ReportFile::abandonLast();
}

// The dump keeps to time limits of its own. Ours is for the case that the thread itself writes it.
void CrashSteps::writeDump()
{
    limitTime(timeForDump);
    _EXCEPTION_POINTERS exception{&m_information, m_context};
    WinUtil::DumpMiniDump(&exception, *m_dumpPath == L'\0' ? nullptr : m_dumpPath);
}

// The host's handler has no time limit, so a handler that hangs in the heap would hang for ever. An
// allocation under a time limit tells beforehand: in a corrupt heap it crashes, or waits for a lock that is
// never released.
void CrashSteps::tryHeap()
{
    if (m_settings->sendCrashDump == nullptr)
        return;
    limitTime(timeForHeap);
    void* volatile memory = std::malloc(trialSize);
    std::free(memory);
    m_isHeapUsable = true;
}

void CrashSteps::callHandler()
{
    if (m_settings->sendCrashDump == nullptr)
        return;
    if (!m_isHeapUsable)
        limitTime(timeForHandlerWithoutHeap);
    restoreSignals(*m_context);
    try { // an exception must not leave a signal handler
        (*m_settings->sendCrashDump)(m_dumpPath);
    } catch (...) { // NOLINT(bugprone-empty-catch): the process ends all the same
    }
}

void CrashSteps::limitTime(const TimeLimit& limit)
{
    m_watch = Minidump::StandstillWatch(CLOCK_THREAD_CPUTIME_ID, limit, leastUse);
    m_timer.start(limit.standingStill, static_cast<int>(m_step.load()));
}

} // namespace Brennic::Core
