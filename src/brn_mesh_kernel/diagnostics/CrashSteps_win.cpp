#include <brn_mesh_kernel/diagnostics/CrashSteps_win.h>

#include <cstdlib>

#include <brn_mesh_common/WinUtil.h>
#include <brn_mesh_common/minidump/DumpThread_win.h>
#include <brn_mesh_kernel/diagnostics/ReportFile.h>

namespace Brennic::Core {

namespace {

// Milliseconds.
constexpr DWORD timeForReport = 2000;
constexpr DWORD timeForHeap = 1000;
constexpr DWORD timeForHandlerWithoutHeap = 5000;

constexpr UINT exitCode = 1;

CrashFilter::ReportWriter g_writeReport = nullptr;

void writeReport()
{
    g_writeReport(keepCrashSettings().commandLogPath.c_str());
}

void allocateOnce()
{
    constexpr std::size_t size = 4096;
    void* volatile memory = std::malloc(size);
    std::free(memory);
}

void callHandlerOnce()
{
    CrashSteps::instance().endWithThisThread();
    const CrashSettings& settings = keepCrashSettings();
    try {
        (*settings.sendCrashDump)(settings.dumpFilePath.c_str());
    } catch (...) { // NOLINT(bugprone-empty-catch): the process ends all the same
    }
}

[[noreturn]] void exitAtOnce()
{
    for (;;)
        TerminateProcess(GetCurrentProcess(), exitCode);
}

void exitAfterAWhile()
{
    Sleep(timeForHandlerWithoutHeap);
    exitAtOnce();
}

// Called by the system in a thread that ends. A handler that ends its thread would otherwise leave a process
// that hangs.
void WINAPI onEndOfHandlersThread(void* /*value*/)
{
    exitAtOnce();
}

} // namespace

CrashSteps& CrashSteps::instance()
{
    static auto* const steps = new CrashSteps;
    return *steps;
}

// Makes all threads now: a crashing thread may hold the loader's lock, which a new thread needs.
void CrashSteps::prepare(CrashFilter::ReportWriter writeReport)
{
    g_writeReport = writeReport;
    Minidump::prepareDumpThread();
    if (m_endOfThread == FLS_OUT_OF_INDEXES)
        m_endOfThread = FlsAlloc(onEndOfHandlersThread);
    m_reportThread.start();
    m_handlerThread.start();
    m_watchThread.start();
}

void CrashSteps::run(_EXCEPTION_POINTERS* exception, bool hasStack)
{
    const CrashSettings& settings = keepCrashSettings();
    if (!settings.commandLogPath.empty() && !m_reportThread.run(writeReport, timeForReport))
        ReportFile::abandonLast();
    WinUtil::DumpMiniDump(exception, settings.dumpFilePath.empty() ? nullptr : settings.dumpFilePath.c_str());
    if (settings.sendCrashDump == nullptr)
        return;
    callHandler(hasStack);
    exitAtOnce();
}

// The host's handler has no time limit, so a handler that hangs in the heap would hang for ever. Another
// thread tries an allocation beforehand; if it does not return in time, the process is ended some seconds
// later.
void CrashSteps::callHandler(bool hasStack)
{
    const bool isHeapUsable = m_handlerThread.run(allocateOnce, timeForHeap);
    if (!isHeapUsable)
        m_watchThread.run(exitAfterAWhile, 0);
    // Hosts expect their handler on the crashing thread. Without stack it runs on another: on the report
    // thread if the other is stuck in the heap.
    if (hasStack)
        callHandlerOnce();
    else if (isHeapUsable)
        m_handlerThread.run(callHandlerOnce, INFINITE);
    else
        m_reportThread.run(callHandlerOnce, timeForHandlerWithoutHeap);
}

void CrashSteps::endWithThisThread()
{
    FlsSetValue(m_endOfThread, this);
}

bool CrashSteps::isOnOwnThread() const
{
    return m_reportThread.isCurrent() || m_handlerThread.isCurrent();
}

void CrashSteps::giveUpStep()
{
    if (m_reportThread.isCurrent())
        m_reportThread.giveUp();
    else
        m_handlerThread.giveUp();
    for (;;)
        Sleep(INFINITE);
}

} // namespace Brennic::Core
