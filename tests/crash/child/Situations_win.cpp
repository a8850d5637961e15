#include "crash/child/PlatformSituations.h"

#include <functional>
#include <future>
#include <locale>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <log4cplus/appender.h>
#include <log4cplus/logger.h>

#include <windows.h>

#include "crash/child/Crashes.h"
#include "support/DetachedThread.h"

namespace Brennic::Testing {

namespace {

// Starts a thread and returns once it has prepared what it holds for ever.
template <typename Function>
void startIdleThread(Function prepare)
{
    std::promise<void> isReady;
    runDetached([&isReady, prepare] {
        prepare();
        isReady.set_value();
        for (;;)
            Sleep(INFINITE);
    });
    isReady.get_future().wait();
}

void startIdleThreads(int count)
{
    for (int i = 0; i != count; ++i)
        startIdleThread([] {});
}

void holdAppenderLocks()
{
    startIdleThread([] {
        for (const log4cplus::SharedAppenderPtr& appender : log4cplus::Logger::getRoot().getAllAppenders())
            appender->access_mutex.lock();
    });
}

void startSpinningThread()
{
    runDetached([] {
        for (volatile unsigned rounds = 0;;)
            rounds = rounds + 1;
    });
}

// Crashes where a thread other than the calling one formats numbers, as the report's does.
class CrashingNumbers : public std::num_put<char>
{
protected:
    iter_type do_put(iter_type next, std::ios_base& format, char fill, long number) const override
    {
        if (GetCurrentThreadId() != m_thread)
            crash("null-write");
        return std::num_put<char>::do_put(next, format, fill, number);
    }

private:
    DWORD m_thread = GetCurrentThreadId();
};

void letReportCrash()
{
    std::locale::global(std::locale(std::locale::classic(), new CrashingNumbers));
}

// Somebody changes what a crash would use, all the time.
void changeSettingsAllTheTime()
{
    const auto setHandler = [](bool answer) {
        Core::Kernel::Instance().SetSendCrashDumpHandler([answer](const wchar_t*) { return answer; });
    };
    setHandler(true);
    runDetached([setHandler] {
        for (bool answer = false;; answer = !answer)
            setHandler(answer);
    });
}

} // namespace

const Situations& platformSituations()
{
    static const Situations table{
        {"other-c-library", [](const auto&) { LoadLibraryW(L"ucrtbase.dll"); }},
        {"64-threads", [](const auto&) { startIdleThreads(64); }},
        {"spinning-thread", [](const auto&) { startSpinningThread(); }},
        {"blocked-report",
         [](const auto& directory) {
             std::filesystem::create_directory(directory / "crash_child_command_log.xml");
         }},
        {"500-threads", [](const auto&) { startIdleThreads(500); }},
        {"appender-locks-held", [](const auto&) { holdAppenderLocks(); }},
        {"crashing-report", [](const auto&) { letReportCrash(); }},
        {"changing-settings", [](const auto&) { changeSettingsAllTheTime(); }},
        {"blocked-name",
         [](const auto& directory) { std::filesystem::create_directory(directory / "crash_child.dmp"); }},
    };
    return table;
}

} // namespace Brennic::Testing
