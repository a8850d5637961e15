#pragma once
/// \file
/// Internal, not installed. The steps that the crash filter takes on the crashing thread.
///
/// A signal interrupts a step that crashes or exceeds its time limit. The handler of that signal calls \ref
/// goOn, which runs the remaining steps on the same stack, above the frames of the failed step. There are few
/// steps, so the stack suffices.

#include <array>
#include <atomic>
#include <cstdint>

#include <brn_mesh_common/minidump/Standstill_linux.h>
#include <brn_mesh_kernel/diagnostics/CrashSettings.h>
#include <brn_mesh_kernel/diagnostics/StepTimer_linux.h>
#include <ucontext.h>

namespace Brennic::Core {

/// Lies zeroed in static storage, because nothing can be allocated in a crash. The steps are taken once in
/// the life of a process.
class CrashSteps
{
public:
    /// Takes all steps. Returns if the signal's default action follows when the signal handler returns.
    /// \param isForked whether the process is a forked child: it has files of its own, beside its parent's.
    void run(const siginfo_t& information, ucontext_t& context, bool isForked,
             StepTimer::Handler onTimeLimit);

    /// Takes the steps after the one that has failed.
    [[noreturn]] void goOn();
    /// The same, if \p information belongs to the time limit of the current step and that step makes no
    /// progress. Returns otherwise.
    void goOnAtTimeLimit(const siginfo_t& information);

    /// Whether the current step has other ways when a sandbox forbids a system call.
    bool copesWithForbiddenCalls() const { return m_step == Step::WriteDump; }

private:
    enum class Step : int
    {
        WriteReport,
        WriteDump,
        TryHeap,
        CallHandler,
        End
    };
    using Path = std::array<wchar_t, 4096>;

    void chooseFiles(bool isForked);
    void takeFrom(Step first);
    void take(Step step);
    void writeReport();
    void writeDump();
    void tryHeap();
    void callHandler();
    void limitTime(const Minidump::TimeLimit& limit);

    siginfo_t m_information{};
    ucontext_t* m_context = nullptr;
    const CrashSettings* m_settings = nullptr;
    const wchar_t* m_dumpPath = nullptr;
    const wchar_t* m_reportPath = nullptr;
    std::atomic<Step> m_step{Step::WriteReport};
    bool m_isHeapUsable = false;
    StepTimer m_timer;
    Minidump::StandstillWatch m_watch;
    Path m_ownDumpPath{};
    Path m_ownReportPath{};
};

} // namespace Brennic::Core
