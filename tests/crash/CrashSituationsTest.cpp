#include "crash/support/CrashFixture.h"

#include <cstdlib>

#include <sys/stat.h>

using namespace Brennic::Testing;

namespace {

constexpr int preparationFailed = 91;

class CrashSituation : public CrashFixture
{
protected:
    void expectDeath(const ProcessEnd& end, int signal = SIGSEGV) const
    {
        EXPECT_EQ(end.signal, signal) << "exit code " << end.exitCode << ", " << end.err;
        EXPECT_LT(end.time.count(), limitOfAllSteps);
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
    EXPECT_LT(end.time.count(), 4000);
    expectGoodDump(dump(), SIGABRT, "crashInHeapByTopChunk");
}

TEST_F(CrashSituation, aDumpThatHangsIsReplacedByASmallerOneWithinFiveSeconds)
{
    if (sanitizer.find("address") != std::string_view::npos)
        GTEST_SKIP() << "the sanitizer keeps the killed helper's frames marked, where the next one's lie";
    const ProcessEnd end = crash("pointer-to-hanging-memory");
    if (end.exitCode == preparationFailed)
        GTEST_SKIP() << "the system gives us no memory that hangs";
    EXPECT_EQ(end.signal, SIGILL);
    EXPECT_GT(end.time.count(), 2500);
    EXPECT_LT(end.time.count(), 5500);
    expectGoodDump(dump(), SIGILL, "crashPointingToMemoryThatHangs");
}

TEST_F(CrashSituation, aReportThatHangsCostsTwoSeconds)
{
    ASSERT_EQ(mkfifo(report().c_str(), 0600), 0); // nobody reads it
    const ProcessEnd end = crash("null-write", {"handler=true"});
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_GT(end.time.count(), 1900);
    EXPECT_LT(end.time.count(), 4000);
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
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

TEST_F(CrashSituation, settingsThatChangeAllTheTimeDoNotMatter)
{
    EXPECT_EQ(crash("null-write", {"after=changing-settings"}).exitCode, 1);
    expectReport();
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}
