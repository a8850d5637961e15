#include <brn_mesh_kernel/kernel/Kernel.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <log4cplus/logger.h>

#include <brn_mesh_kernel/diagnostics/IProfilerSource.h>

#include "support/KernelFixture.h"
#include "support/MatchesPattern.h"
#include "support/VirtualSlot.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class KernelTest : public KernelFixture
{
protected:
    std::string savedReport()
    {
        EXPECT_EQ(kernel.SaveWaypointsToXml(wide(directory / "report.xml").c_str()), Success);
        return readText(directory / "report.xml");
    }

    std::vector<std::string> waypointNames()
    {
        std::vector<std::string> names;
        for (const std::string& line : splitLines(savedReport())) {
            const std::string start = "    <Waypoint name=\"";
            if (line.rfind(start, 0) == 0)
                names.push_back(line.substr(start.size(), line.find('"', start.size()) - start.size()));
        }
        return names;
    }
};

struct CountingSource final : IProfilerSource
{
    std::int64_t MemoryUsage() override { return memory; }
    std::int64_t FrameCount() override { return frames; }

    std::int64_t memory = 0;
    std::int64_t frames = 0;
};

} // namespace

TEST_F(KernelTest, instanceIsAlwaysTheSameObject)
{
    EXPECT_EQ(&Kernel::Instance(), &Kernel::Instance());
}

// Without the fixture, which makes the instance: here the threads do.
TEST(KernelInstance, isTheSameForThreadsThatAskAtOnce)
{
    std::vector<Kernel*> seen(8);
    std::vector<std::thread> threads;
    std::atomic<std::size_t> ready{0};
    for (Kernel*& entry : seen)
        threads.emplace_back([&] {
            for (++ready; ready < seen.size();)
                std::this_thread::yield();
            entry = &Kernel::Instance();
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_NE(seen.front(), nullptr);
    EXPECT_THAT(seen, ::testing::Each(seen.front()));
}

TEST_F(KernelTest, theLevelIsInfoBeforeInitialize)
{
    EXPECT_EQ(kernel.LogLevel(), Info);
    EXPECT_EQ(log4cplus::Logger::getRoot().getLogLevel(), 20000);
}

TEST_F(KernelTest, theLoggerDropsEverythingBeforeInitialize)
{
    for (const EKvsLogLevel level : {Trace, Debug, Info, Warn, Error, Fatal})
        EXPECT_FALSE(logger().IsEnabled(level));
    logger().Log(Fatal, L"x");
    EXPECT_EQ(console.text(), "");
    EXPECT_EQ(debugger.text(), "");
}

TEST_F(KernelTest, theLoggerDropsEverythingAfterTerminate)
{
    initializeWithPlainLines();
    kernel.Terminate();
    EXPECT_FALSE(logger().IsEnabled(Fatal));
    logger().Log(Fatal, L"x");
    EXPECT_THAT(logLines(), IsEmpty());
}

TEST_F(KernelTest, recordsReachConsoleFileAndDebugger)
{
    initializeWithPlainLines();
    logger().Log(Info, L"Value %d", 5);
    EXPECT_EQ(console.text(), "value 5\n");
    EXPECT_THAT(logLines(), ElementsAre("value 5"));
    EXPECT_EQ(debugger.text(), "[KVS_LOG] value 5\n");
}

TEST_F(KernelTest, theDefaultLayoutIsThreadLevelAndMessage)
{
    kernel.SetLogFilePath(wide(directory / "host.log").c_str());
    kernel.Initialize();
    logger().Log(Info, L"one");
    logger().Log(Error, L"two");
    EXPECT_THAT(logLines(), ElementsAre(MatchesPattern("\\[[0-9a-fx]+\\] INFO  - one"),
                                        MatchesPattern("\\[[0-9a-fx]+\\] ERROR - two")));
}

TEST_F(KernelTest, recordsCarryTheLoggersName)
{
    kernel.SetLogMessageFormat(L"%c %m%n");
    kernel.SetLogFilePath(wide(directory / "host.log").c_str());
    kernel.Initialize();
    logger().Log(Info, L"x");
    EXPECT_THAT(logLines(), ElementsAre("Default x"));
}

TEST_F(KernelTest, aRecordBelowTheLevelWaitsUntilTheLevelIsLowered)
{
    initializeWithPlainLines();
    logger().Log(Debug, L"early");
    kernel.SetLogLevel(Debug);
    logger().Log(Debug, L"late");
    EXPECT_THAT(logLines(), ElementsAre("late"));
}

TEST_F(KernelTest, theLevelActsAtOnce)
{
    initializeWithPlainLines();
    EXPECT_TRUE(logger().IsEnabled(Info));
    EXPECT_EQ(kernel.SetLogLevel(Error), Success);
    EXPECT_FALSE(logger().IsEnabled(Info));
    EXPECT_TRUE(logger().IsEnabled(Error));
}

TEST_F(KernelTest, theLevelOffSilencesFatalToo)
{
    initializeWithPlainLines();
    kernel.SetLogLevel(Off);
    logger().Log(Fatal, L"x");
    EXPECT_THAT(logLines(), IsEmpty());
    EXPECT_EQ(debugger.text(), "");
}

TEST_F(KernelTest, theLevelIsWhateverTheRootLoggerSays)
{
    log4cplus::Logger::getRoot().setLogLevel(log4cplus::WARN_LOG_LEVEL);
    EXPECT_EQ(kernel.LogLevel(), Warn);
}

TEST_F(KernelTest, thePathIsNullUntilSetAndAgainWhenEmpty)
{
    EXPECT_EQ(kernel.LogFilePath(), nullptr);
    EXPECT_EQ(kernel.SetLogFilePath(L"a.log"), Success);
    EXPECT_STREQ(kernel.LogFilePath(), L"a.log");
    EXPECT_EQ(kernel.SetLogFilePath(L""), Success);
    EXPECT_EQ(kernel.LogFilePath(), nullptr);
}

TEST_F(KernelTest, theFormatHasADefaultAndIsNullWhenEmpty)
{
    EXPECT_STREQ(kernel.LogMessageFormat(), L"[%t] %-5p - %m%n");
    EXPECT_EQ(kernel.SetLogMessageFormat(L"%m"), Success);
    EXPECT_STREQ(kernel.LogMessageFormat(), L"%m");
    EXPECT_EQ(kernel.SetLogMessageFormat(L""), Success);
    EXPECT_EQ(kernel.LogMessageFormat(), nullptr);
}

TEST_F(KernelTest, anEmptyFormatMeansTheDefault)
{
    kernel.SetLogMessageFormat(L"");
    kernel.SetLogFilePath(wide(directory / "host.log").c_str());
    kernel.Initialize();
    logger().Log(Warn, L"x");
    EXPECT_THAT(logLines(), ElementsAre(MatchesPattern("\\[[0-9a-fx]+\\] WARN  - x")));
}

TEST_F(KernelTest, stringsAreCopied)
{
    wchar_t path[] = L"abc";
    kernel.SetLogFilePath(path);
    path[0] = L'x';
    EXPECT_STREQ(kernel.LogFilePath(), L"abc");
}

TEST_F(KernelTest, withoutAPathNoFileIsWritten)
{
    std::filesystem::current_path(directory.path());
    kernel.Initialize();
    logger().Log(Info, L"x");
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(KernelTest, aNewPathTakesEffectWithTheNextInitialize)
{
    initializeWithPlainLines();
    const std::wstring other = wide(directory / "other.log");
    EXPECT_EQ(kernel.SetLogFilePath(other.c_str()), Success);
    EXPECT_STREQ(kernel.LogFilePath(), other.c_str());
    logger().Log(Info, L"first");
    EXPECT_THAT(logLines(), ElementsAre("first"));
    kernel.Initialize();
    logger().Log(Info, L"second");
    EXPECT_THAT(readLines(directory / "other.log"), ElementsAre("second"));
}

TEST_F(KernelTest, theTruncateFlagIsStoredAndTheFileAppendedTo)
{
    EXPECT_FALSE(kernel.TruncateLogFile());
    EXPECT_EQ(kernel.SetTruncateLogFile(true), Success);
    EXPECT_TRUE(kernel.TruncateLogFile());
    writeFile(directory / "host.log", "kept\n");
    initializeWithPlainLines();
    logger().Log(Info, L"new");
    EXPECT_THAT(logLines(), ElementsAre("kept", "new"));
}

TEST_F(KernelTest, aSecondInitializeDoublesEveryLine)
{
    initializeWithPlainLines();
    EXPECT_EQ(kernel.Initialize(), Success);
    logger().Log(Info, L"x");
    EXPECT_THAT(logLines(), ElementsAre("x", "x"));
    EXPECT_EQ(console.text(), "x\nx\n");
    EXPECT_EQ(debugger.text(), "[KVS_LOG] x\n");
}

TEST_F(KernelTest, initializeAfterTerminateLogsAgain)
{
    initializeWithPlainLines();
    kernel.Terminate();
    kernel.Initialize();
    logger().Log(Info, L"x");
    EXPECT_THAT(logLines(), ElementsAre("x", "x"));
}

TEST_F(KernelTest, terminateBeforeInitializeIsHarmless)
{
    kernel.Terminate();
    EXPECT_FALSE(logger().IsEnabled(Fatal));
    EXPECT_EQ(console.text(), "");
}

TEST_F(KernelTest, afterTerminateTheAppendersStillServeLog4cplus)
{
    initializeWithPlainLines();
    kernel.Terminate();
    log4cplus::Logger::getInstance(log4cplus::tstring())
        .forcedLog(log4cplus::INFO_LOG_LEVEL, log4cplus::tstring(3, 'x'), nullptr, -1, nullptr);
    EXPECT_THAT(logLines(), ElementsAre("xxx"));
}

TEST_F(KernelTest, aWaypointNeedsAnInitializedKernel)
{
    EXPECT_EQ(kernel.ProfilerWaypoint(L"early"), NotRunning);
    kernel.Initialize();
    EXPECT_EQ(kernel.ProfilerWaypoint(L"in time"), Success);
    kernel.Terminate();
    EXPECT_EQ(kernel.ProfilerWaypoint(L"late"), NotRunning);
    EXPECT_THAT(waypointNames(), ElementsAre("in time", "END"));
}

TEST_F(KernelTest, theSourceIsNullUntilSet)
{
    CountingSource source;
    EXPECT_EQ(kernel.ProfilerSource(), nullptr);
    EXPECT_EQ(kernel.SetProfilerSource(&source), Success);
    EXPECT_EQ(kernel.ProfilerSource(), &source);
    EXPECT_EQ(kernel.SetProfilerSource(nullptr), Success);
    EXPECT_EQ(kernel.ProfilerSource(), nullptr);
}

TEST_F(KernelTest, theSourceThatIsSetAlreadyDoesNotEndTheRun)
{
    CountingSource source;
    kernel.SetProfilerSource(&source);
    kernel.Initialize();
    EXPECT_EQ(kernel.SetProfilerSource(&source), Success);
    EXPECT_EQ(kernel.ProfilerWaypoint(L"a"), Success);
    EXPECT_THAT(waypointNames(), ElementsAre("a"));
    kernel.SetProfilerSource(nullptr);
}

TEST_F(KernelTest, anotherSourceEndsTheRun)
{
    CountingSource source;
    kernel.Initialize();
    EXPECT_EQ(kernel.SetProfilerSource(&source), Success);
    EXPECT_EQ(kernel.ProfilerWaypoint(L"a"), NotRunning);
    EXPECT_THAT(waypointNames(), ElementsAre("END"));
    kernel.SetProfilerSource(nullptr);
}

TEST_F(KernelTest, terminateLetsGoOfTheSource)
{
    CountingSource source;
    kernel.SetProfilerSource(&source);
    kernel.Initialize();
    kernel.Terminate();
    EXPECT_EQ(kernel.ProfilerSource(), nullptr);
    EXPECT_THAT(waypointNames(), ElementsAre("END"));
}

TEST_F(KernelTest, terminateLogsOneSummaryLinePerWaypoint)
{
    CountingSource source;
    kernel.SetProfilerSource(&source);
    kernel.SetLogLevel(Trace);
    initializeWithPlainLines();
    source.memory = -1'572'864;
    kernel.ProfilerWaypoint(L"A");
    source.frames = 2;
    source.memory += 1'048'575;
    kernel.ProfilerWaypoint(L"B %d");
    kernel.Terminate();
    EXPECT_THAT(
        logLines(),
        ElementsAre(MatchesPattern("A >>>> frame count: 0 / elapsed: 0\\.[0-9]{3} s / memory: -1 mb"),
                    MatchesPattern("B %d >>>> frame count: 2 / elapsed: 0\\.[0-9]{3} s / memory: \\+0 mb"),
                    MatchesPattern("END >>>> frame count: 0 / elapsed: 0\\.[0-9]{3} s / memory: \\+0 mb")));
}

TEST_F(KernelTest, theSummaryIsSilentAtTheDefaultLevel)
{
    initializeWithPlainLines();
    kernel.ProfilerWaypoint(L"A");
    kernel.Terminate();
    EXPECT_THAT(logLines(), IsEmpty());
    EXPECT_EQ(debugger.text(), "");
}

TEST_F(KernelTest, aSecondRunLogsTheFirstOnesWaypointsAgain)
{
    kernel.SetLogMessageFormat(L"%m%n");
    kernel.SetLogLevel(Trace);
    kernel.Initialize();
    kernel.ProfilerWaypoint(L"A");
    kernel.Terminate();
    kernel.SetLogFilePath(wide(directory / "host.log").c_str());
    kernel.Initialize();
    kernel.ProfilerWaypoint(L"B");
    kernel.Terminate();
    EXPECT_THAT(logLines(), ElementsAre(MatchesPattern("A >>>> .*"), MatchesPattern("END >>>> .*"),
                                        MatchesPattern("B >>>> .*"), MatchesPattern("END >>>> .*")));
}

TEST_F(KernelTest, aSecondInitializeEndsTheRunAndOpensAnother)
{
    kernel.Initialize();
    kernel.Initialize();
    EXPECT_EQ(kernel.ProfilerWaypoint(L"a"), Success);
    EXPECT_THAT(waypointNames(), ElementsAre("END", "a"));
}

TEST_F(KernelTest, aReportLeavesTheRunAsItIs)
{
    kernel.Initialize();
    kernel.ProfilerWaypoint(L"a");
    EXPECT_EQ(savedReport(), savedReport());
    EXPECT_EQ(kernel.ProfilerWaypoint(L"b"), Success);
    EXPECT_THAT(waypointNames(), ElementsAre("a", "b"));
}

TEST_F(KernelTest, aReportThatCannotBeWrittenThrowsAStandardException)
{
    const std::wstring path = wide(directory / "missing") + L"/report.xml";
    EXPECT_THROW(kernel.SaveWaypointsToXml(path.c_str()), std::runtime_error);
    EXPECT_FALSE(std::filesystem::exists(directory / "missing"));
}

TEST_F(KernelTest, theCrashHandlerIsTakenInEveryState)
{
    const auto handler = [](const wchar_t*) { return true; };
    EXPECT_EQ(kernel.SetSendCrashDumpHandler(handler), Success);
    kernel.Initialize();
    EXPECT_EQ(kernel.SetSendCrashDumpHandler({}), Success);
}

TEST_F(KernelTest, aSecondKernelHasSettingsAndWaypointsOfItsOwn)
{
    kernel.SetLogFilePath(L"first.log");
    kernel.SetLogLevel(Error);
    Kernel second;
    EXPECT_EQ(second.LogFilePath(), nullptr);
    EXPECT_EQ(second.LogLevel(), Info) << "the level is log4cplus's, and a new kernel resets it";
    second.Initialize();
    EXPECT_EQ(second.ProfilerWaypoint(L"a"), Success);
    EXPECT_EQ(kernel.ProfilerWaypoint(L"a"), NotRunning);
    EXPECT_FALSE(logger().IsEnabled(Fatal));
}

TEST_F(KernelTest, destroyingAKernelDoesNotTerminateIt)
{
    {
        Kernel second;
        second.SetLogMessageFormat(L"%m%n");
        second.SetLogLevel(Trace);
        second.Initialize();
        second.ProfilerWaypoint(L"a");
    }
    EXPECT_EQ(console.text(), "");
}

TEST(KernelClass, virtualFunctionsKeepTheirSlots)
{
    EXPECT_EQ(virtualSlot(&Kernel::Initialize), 2U);
    EXPECT_EQ(virtualSlot(&Kernel::Terminate), 3U);
    EXPECT_EQ(virtualSlot(&Kernel::TruncateLogFile), 4U);
    EXPECT_EQ(virtualSlot(&Kernel::SetTruncateLogFile), 5U);
    EXPECT_EQ(virtualSlot(&Kernel::LogFilePath), 6U);
    EXPECT_EQ(virtualSlot(&Kernel::SetLogFilePath), 7U);
    EXPECT_EQ(virtualSlot(&Kernel::LogMessageFormat), 8U);
    EXPECT_EQ(virtualSlot(&Kernel::SetLogMessageFormat), 9U);
    EXPECT_EQ(virtualSlot(&Kernel::LogLevel), 10U);
    EXPECT_EQ(virtualSlot(&Kernel::SetLogLevel), 11U);
}

TEST(KernelClass, itHoldsOnePointer)
{
    EXPECT_EQ(sizeof(Kernel), 2 * sizeof(void*)); // the virtual table's and its own
}

TEST_F(KernelTest, controlCharactersOfMessagesAreShownFromTheSettingOn)
{
    initializeWithPlainLines();
    EXPECT_FALSE(kernel.ShowsControlCharacters());
    EXPECT_EQ(kernel.SetShowsControlCharacters(true), Success);
    EXPECT_TRUE(kernel.ShowsControlCharacters());
    logger().Log(Info, L"name: %s", L"x\nforged \x1b[31m");
    kernel.SetShowsControlCharacters(false);
    logger().Log(Info, L"two\nlines");
    EXPECT_EQ(logLines(), (std::vector<std::string>{R"(name: x\nforged \x1b[31m)", "two", "lines"}));
    EXPECT_EQ(splitLines(debugger.text()).front(), R"([KVS_LOG] name: x\nforged \x1b[31m)");
}

TEST_F(KernelTest, aLoggerForALevelIsGivenWhileItWrites)
{
    EXPECT_EQ(Kernel::LoggerIfEnabled(Fatal), nullptr);
    kernel.Initialize();
    EXPECT_EQ(Kernel::LoggerIfEnabled(Debug), nullptr);
    EXPECT_EQ(Kernel::LoggerIfEnabled(Info), kernel.Logger());
    kernel.SetLogLevel(Debug);
    EXPECT_EQ(Kernel::LoggerIfEnabled(Debug), kernel.Logger());
    kernel.Terminate();
    EXPECT_EQ(Kernel::LoggerIfEnabled(Fatal), nullptr);
    kernel.Initialize();
    EXPECT_EQ(Kernel::LoggerIfEnabled(Info), kernel.Logger());
}

TEST_F(KernelTest, theLoggerForALevelIsThatOfTheProcessesKernel)
{
    Kernel other;
    other.Initialize();
    EXPECT_EQ(Kernel::LoggerIfEnabled(Info), nullptr);
    kernel.Initialize();
    other.Terminate();
    EXPECT_EQ(Kernel::LoggerIfEnabled(Info), kernel.Logger());
}
