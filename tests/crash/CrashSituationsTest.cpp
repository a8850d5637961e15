#include "crash/support/CrashFixture.h"
#include "crash/support/TimeLimits.h"

#include <cctype>
#include <cstdlib>

#include <sys/stat.h>

#include "support/Eventually.h"

using namespace Brennic::Testing;

namespace {

constexpr int preparationFailed = 91;

// How many processes run that have been started with the argument, and those that they have made.
std::size_t processesWithArgument(const std::string& argument)
{
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const bool isProcess =
            std::isdigit(static_cast<unsigned char>(entry.path().filename().string()[0])) != 0;
        if (isProcess && readFile(entry.path() / "cmdline").find(argument + '\0') != std::string::npos)
            ++count;
    }
    return count;
}

class CrashSituation : public CrashFixture
{
protected:
    void expectDeath(const ProcessEnd& end, int signal = SIGSEGV) const
    {
        EXPECT_EQ(end.signal, signal) << "exit code " << end.exitCode << ", " << end.err;
        EXPECT_TRUE(isBelow(end.time, limitOfAllSteps));
    }

    // The dump in the host's directory. The library's own threads are the reporter and those of log4cplus.
    void expectDumpWithThreads(const std::string& situation, std::size_t least)
    {
        expectDeath(crash("null-write", {"after=" + situation}));
        expectReport();
        expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
        EXPECT_GT(Minidump(dump()).threadIds().size(), least);
    }

    void expectTemporaryDump(const ProcessEnd& end)
    {
        expectDeath(end);
        EXPECT_THAT(dumpsIn(m_host), ::testing::IsEmpty());
        expectGoodDump(temporaryDump(), SIGSEGV, "crashByNullWrite");
        EXPECT_THAT(end.err, ::testing::HasSubstr("Crash dump written to " + temporaryDump().string()));
    }
};

} // namespace

TEST_F(CrashSituation, sixtyFourThreadsAreAllInTheDump)
{
    expectDumpWithThreads("64-threads", 64);
    EXPECT_EQ(countLines(readAllThreadsWithLldb(dump()).out, "idleForEver"), 64U);
}

TEST_F(CrashSituation, fiveHundredThreadsAreAllInTheDump)
{
    expectDumpWithThreads("500-threads", 500);
    EXPECT_EQ(countLines(readAllThreadsWithLldb(dump()).out, "idleForEver"), 500U);
}

TEST_F(CrashSituation, aSpinningThreadIsStopped)
{
    expectDumpWithThreads("spinning-thread", 1);
    EXPECT_EQ(countLines(readAllThreadsWithLldb(dump()).out, "spinForEver"), 1U);
}

TEST_F(CrashSituation, theLogAppendersLocksDoNotMatter)
{
    expectDumpWithThreads("appender-locks-held", 1);
}

TEST_F(CrashSituation, usedUpFileDescriptorsDoNotMatter)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer needs descriptors";
    expectDumpWithThreads("no-descriptors", 0);
}

TEST_F(CrashSituation, anExhaustedAddressSpaceDoesNotMatter)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer needs address space";
    expectDumpWithThreads("no-address-space", 0);
}

TEST_F(CrashSituation, aFileSizeLimitThatMayBeRaisedDoesNotMatter)
{
    expectDeath(crash("null-write", {"after=file-size-limit"}));
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashSituation, aHardFileSizeLimitLeavesASmallerDump)
{
    expectDeath(crash("null-write", {"after=hard-file-size-limit"}));
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
    EXPECT_LE(std::filesystem::file_size(dump()), 48U * 1024);
}

TEST_F(CrashSituation, anUnwritableDirectorySendsTheDumpToTheTemporaryFiles)
{
    expectTemporaryDump(crash("null-write", {"after=unwritable-directory"}));
}

TEST_F(CrashSituation, aVanishedDirectorySendsTheDumpToTheTemporaryFiles)
{
    const ProcessEnd end = crash("null-write", {"after=vanished-directory"});
    std::filesystem::create_directories(m_host);
    expectTemporaryDump(end);
}

TEST_F(CrashSituation, aFullDiskSendsTheDumpToTheTemporaryFiles)
{
    const ProcessEnd end = crash("null-write", {"before=full-disk"});
    if (end.exitCode == preparationFailed)
        GTEST_SKIP() << "the system lets us mount no disk";
    expectTemporaryDump(end);
}

TEST_F(CrashSituation, aDiskWithLittleRoomGetsASmallerDump)
{
    const ProcessEnd end = crash("null-write", {"before=small-disk", "handler=copy-dump"});
    if (end.exitCode == preparationFailed)
        GTEST_SKIP() << "the system lets us mount no disk";
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_THAT(dumpsIn(m_temporary), ::testing::ElementsAre(m_temporary / "copy.dmp"));
    expectGoodDump(m_temporary / "copy.dmp", SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashSituation, withoutPtraceTheThreadsReportThemselves)
{
    expectDumpWithThreads("no-ptrace", 1);
}

TEST_F(CrashSituation, withoutPtraceSixtyFourThreadsAreAllInTheDump)
{
    expectDeath(crash("null-write", {"before=64-threads", "after=no-ptrace"}));
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
    EXPECT_EQ(countLines(readAllThreadsWithLldb(dump()).out, "idleForEver"), 64U);
}

TEST_F(CrashSituation, withoutPtraceASpinningThreadIsStopped)
{
    if (sanitizer == "thread")
        GTEST_SKIP() << "ThreadSanitizer holds signals back until the thread makes a call";
    expectDeath(crash("null-write", {"before=spinning-thread", "after=no-ptrace"}));
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
    EXPECT_EQ(countLines(readAllThreadsWithLldb(dump()).out, "spinForEver"), 1U);
}

TEST_F(CrashSituation, aSandboxThatAnswersPtraceWithASignalDoesNotMatter)
{
    expectDumpWithThreads("no-ptrace-by-signal", 1);
}

TEST_F(CrashSituation, withoutAccessToProcessMemoryItIsReadThroughAFile)
{
    expectDumpWithThreads("no-memory-reading", 1);
}

TEST_F(CrashSituation, withoutNewProcessesTheCrashingThreadWritesTheDump)
{
    expectDumpWithThreads("no-helper", 1);
}

TEST_F(CrashSituation, withoutNewProcessesASandboxThatAnswersWithSignalsDoesNotMatter)
{
    expectDumpWithThreads("no-helper-by-signal", 1);
}

TEST_F(CrashSituation, withoutSignalsTheCrashingThreadIsInTheDump)
{
    expectDeath(crash("null-write", {"after=no-helper-no-signals"}));
    expectReport();
    ASSERT_TRUE(std::filesystem::exists(dump()));
    EXPECT_THAT(readWithLldb(dump()).out, ::testing::HasSubstr("crashByNullWrite"));
    EXPECT_EQ(readWithObj2yaml(dump()).exitCode, 0);
}

TEST_F(CrashSituation, aHeapThatAllThreadsShareCostsTheReportAndTwoSeconds)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer's heap does not break so";
    setenv("GLIBC_TUNABLES", "glibc.malloc.arena_max=1", 1);
    const ProcessEnd end = crash("heap-top");
    unsetenv("GLIBC_TUNABLES");
    EXPECT_EQ(end.signal, SIGABRT);
    EXPECT_GT(end.time.count(), 1900);
    EXPECT_TRUE(isBelow(end.time, 4000));
    expectGoodDump(dump(), SIGABRT, "crashInHeapByTopChunk");
}

TEST_F(CrashSituation, aDumpThatHangsIsReplacedByASmallerOneWithinFiveSeconds)
{
    const ProcessEnd end = crash("pointer-to-hanging-memory");
    if (end.exitCode == preparationFailed)
        GTEST_SKIP() << "the system gives us no memory that hangs";
    EXPECT_EQ(end.signal, SIGILL);
    EXPECT_GT(end.time.count(), 2500);
    EXPECT_TRUE(isBelow(end.time, 5500));
    expectGoodDump(dump(), SIGILL, "crashPointingToMemoryThatHangs");
}

TEST_F(CrashSituation, aReportThatHangsCostsTwoSeconds)
{
    ASSERT_EQ(mkfifo(report().c_str(), 0600), 0); // nobody reads it
    const ProcessEnd end = crash("null-write", {"handler=true"});
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_GT(end.time.count(), 1900);
    EXPECT_TRUE(isBelow(end.time, 4000));
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashSituation, aReportThatStandsStillIsNotThereAndTheOlderOneIs)
{
    writeFile(report(), "a good report");
    expectDeath(crash("abort", {"after=standing-report"}), SIGABRT);
    EXPECT_EQ(readFile(report()), "a good report");
    EXPECT_THAT(unfinishedFilesIn(m_host), ::testing::IsEmpty());
    expectGoodDump(dump(), SIGABRT, "crashByAbort");
}

TEST_F(CrashSituation, aReportThatIsSlowIsFinished)
{
    EXPECT_EQ(crash("abort", {"after=slow-report"}).signal, SIGABRT);
    expectReport();
    expectGoodDump(dump(), SIGABRT, "crashByAbort");
}

TEST_F(CrashSituation, descriptorsThatAreNotAllowedForNowDoNotMatter)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer needs descriptors";
    expectDumpWithThreads("no-descriptors-for-now", 1);
}

TEST_F(CrashSituation, withoutAnyDescriptorOneLineTellsWhyThereIsNoDump)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer needs descriptors";
    const ProcessEnd end = crash("null-write", {"after=no-descriptors-ever"});
    expectDeath(end);
    EXPECT_THAT(dumpsIn(m_host), ::testing::IsEmpty());
    EXPECT_THAT(end.err, ::testing::HasSubstr("[KVS_LOG] No crash dump: " + dump().string() +
                                              ": no file descriptor left (24)"));
}

TEST_F(CrashSituation, withoutRoomAnywhereOneLineTellsWhyThereIsNoDump)
{
    const ProcessEnd end =
        crash("null-write", {"delete=" + m_temporary.string(), "after=vanished-directory"});
    expectDeath(end);
    EXPECT_EQ(countLines(end.err, "No crash dump: " + dump().string() + ": no such directory (2); "), 1U)
        << end.err;
}

TEST_F(CrashSituation, theUsualProfileOfAContainerDoesNotMatter)
{
    expectDumpWithThreads("container", 1);
}

TEST_F(CrashSituation, aProcessThatMayNotBeDumpedByOthersDumpsItself)
{
    expectDeath(crash("null-write", {"after=undumpable"}));
    expectReport();
    ASSERT_TRUE(std::filesystem::exists(dump()));
    EXPECT_GT(Minidump(dump()).threadIds().size(), 1U); // not all of them with their place
    EXPECT_THAT(readWithLldb(dump()).out, ::testing::HasSubstr("crashByNullWrite"));
    EXPECT_EQ(readWithObj2yaml(dump()).exitCode, 0);
}

// The tracer's filter has the calls fail in a process that it does not trace, as the helper.
TEST_F(CrashSituation, underATracerWithAFilterThereIsADumpAndItsHelperEnds)
{
    const std::string tracer = "/usr/bin/strace";
    if (!std::filesystem::exists(tracer))
        GTEST_SKIP() << "there is no strace";
    for (const char* const calls :
         {"trace=exit_group", "trace=exit_group,openat", "trace=exit_group,rt_sigaction"}) {
        SCOPED_TRACE(calls);
        std::filesystem::remove(dump());
        ChildProcess child(tracer,
                           {"-f", "--seccomp-bpf", "-e", calls, "-o", "/dev/null", BRN_CRASH_CHILD,
                            m_host.string(), "null-write"},
                           m_directory.path());
        child.wait();
        EXPECT_TRUE(eventually([this] { return processesWithArgument(m_host.string()) == 0; }));
        EXPECT_THAT(readWithLldb(dump()).out, ::testing::HasSubstr("crashByNullWrite"));
    }
}

TEST_F(CrashSituation, theDumpsHelperDiesWithItsParent)
{
    ChildProcess child = start("pointer-to-hanging-memory");
    const std::string argument = m_host.string();
    const bool hasHelper =
        eventually([&] { return processesWithArgument(argument) == 2 || !child.isRunning(); }) &&
        child.isRunning();
    if (!hasHelper)
        GTEST_SKIP() << "the system gives us no memory that hangs";
    kill(child.id(), SIGKILL);
    EXPECT_TRUE(eventually([&] { return processesWithArgument(argument) == 0; }));
    EXPECT_THAT(dumpsIn(m_temporary), ::testing::IsEmpty());
}

TEST_F(CrashSituation, aReportThatCrashesCostsNothing)
{
    expectDeath(crash("abort", {"after=crashing-report"}), SIGABRT);
    expectGoodDump(dump(), SIGABRT, "crashByAbort");
    EXPECT_EQ(countLines(readAllThreadsWithLldb(dump()).out, "crashByNullWrite"), 1U); // of the report
}

TEST_F(CrashSituation, aReportThatCannotBeWrittenCostsNothing)
{
    ASSERT_TRUE(std::filesystem::create_directory(report()));
    expectDeath(crash("null-write"));
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}
