#include <brn_mesh_kernel/diagnostics/CrashSteps_win.h>

#include <cstdlib>

#include <brn_mesh_common/WinUtil.h>
#include <brn_mesh_common/minidump/DumpThread_win.h>
#include <brn_mesh_kernel/diagnostics/CommandLog.h>
#include <brn_mesh_kernel/diagnostics/ReportFile.h>

namespace Brennic::Core {

namespace {

// Milliseconds.
constexpr DWORD timeForReport = 2000;
constexpr DWORD timeForHeap = 1000;
constexpr DWORD timeForHandlerWithoutHeap = 5000;

constexpr UINT exitCode = 1;

void writeReport()
{
    writeCommandLog(keepCrashSettings().commandLogPath.c_str());
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

// Called by the system in a thread that ends.
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

void CrashSteps::prepare()
{
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
        ReportFile::giveUpLast();
    WinUtil::DumpMiniDump(exception, settings.dumpFilePath.empty() ? nullptr : settings.dumpFilePath.c_str());
    if (settings.sendCrashDump == nullptr)
        return;
    callHandler(hasStack);
    exitAtOnce();
}

// A handler that hangs in the heap would hang for ever. Whether it may is found out before, by a thread that then does not
// come back. One that ends its thread would leave a process that goes on.
void CrashSteps::callHandler(bool hasStack)
{
    const bool isHeapUsable = m_handlerThread.run(allocateOnce, timeForHeap);
    if (!isHeapUsable)
        m_watchThread.run(exitAfterAWhile, 0);
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
