#include "crash/support/CrashFixture.h"

#include <cstdlib>

#include <sys/stat.h>

using namespace Brennic::Testing;

namespace {

class CrashPlace : public CrashFixture
{
protected:
    // Of a forked child, whose name in the dump file's is its process id.
    std::filesystem::path childsDump() const
    {
        for (const std::filesystem::path& path : dumpsIn(m_host)) {
            if (path != dump())
                return path;
        }
        return {};
    }
};

} // namespace

TEST_F(CrashPlace, anUncaughtExceptionOnAThreadOfTheHostIsNamed)
{
    EXPECT_EQ(crash("throw", {"in=thread"}).signal, SIGABRT);
    expectReport();
    expectGoodDump(dump(), SIGABRT, "crashByException");
}

TEST_F(CrashPlace, anUncaughtExceptionOnAWorkerIsNamed)
{
    EXPECT_EQ(crash("throw", {"in=worker"}).signal, SIGABRT);
    expectReport();
    expectGoodDump(dump(), SIGABRT, "crashByException");
}

TEST_F(CrashPlace, anUncaughtExceptionOnAWorkerIsNamedThoughLocalsWouldBeDestroyed)
{
    EXPECT_EQ(crash("throw-past-locals", {"in=worker"}).signal, SIGABRT);
    expectReport();
    expectGoodDump(dump(), SIGABRT, "crashByException");
}

TEST_F(CrashPlace, anExceptionOnAWorkerIsNamedThoughTheHostCatchesOthers)
{
    EXPECT_EQ(crash("throw", {"in=worker-of-catching-host"}).signal, SIGABRT);
    expectReport();
    expectGoodDump(dump(), SIGABRT, "crashByException");
}

TEST_F(CrashPlace, anExceptionOnAWorkerIsNamedThoughTheHostCatchesOthersAndLocalsWouldBeDestroyed)
{
    EXPECT_EQ(crash("throw-past-locals", {"in=worker-of-catching-host"}).signal, SIGABRT);
    expectReport();
    expectGoodDump(dump(), SIGABRT, "crashByException");
}

TEST_F(CrashPlace, anExceptionOnAWorkerIsNamedWithoutGlib)
{
    setenv("QT_NO_GLIB", "1", 1); // for the children, whose threads then run Qt's own dispatcher
    for (const std::string place : {"in=worker", "in=worker-of-catching-host"}) {
        EXPECT_EQ(crash("throw", {place}).signal, SIGABRT);
        expectReport();
        expectGoodDump(dump(), SIGABRT, "crashByException");
        std::filesystem::remove(dump());
    }
}

TEST_F(CrashPlace, aWorkerSurvivesItsStackOverflowLongEnough)
{
    EXPECT_EQ(crash("stack-overflow", {"in=worker"}).signal, SIGSEGV);
    expectReport();
    expectGoodDump(dump(), SIGSEGV, "crashByRecursion");
}

TEST_F(CrashPlace, aThreadThatAskedSurvivesItsStackOverflowLongEnough)
{
    EXPECT_EQ(crash("stack-overflow", {"in=guarded-thread"}).signal, SIGSEGV);
    expectReport();
    expectGoodDump(dump(), SIGSEGV, "crashByRecursion");
}

TEST_F(CrashPlace, aThreadThatDidNotAskDiesOfItsStackOverflowWithoutATrace)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer gives every thread a second stack";
    EXPECT_EQ(crash("stack-overflow", {"in=thread"}).signal, SIGSEGV);
    EXPECT_THAT(dumpsIn(m_host), ::testing::IsEmpty());
    EXPECT_THAT(dumpsIn(m_temporary), ::testing::IsEmpty());
}

TEST_F(CrashPlace, theHandlerHasRoomOnAThreadThatOverflowedItsStack)
{
    EXPECT_EQ(crash("stack-overflow", {"in=guarded-thread", "handler=allocate"}).exitCode, 1);
    EXPECT_EQ(handlersPath(), dump().string());
    expectGoodDump(dump(), SIGSEGV, "crashByRecursion");
}

TEST_F(CrashPlace, ofEightThreadsThatCrashAtOnceOneIsHandled)
{
    const ProcessEnd end = crash("null-write", {"in=eight-threads", "handler=true"});
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_LT(end.time.count(), usualTime);
    expectReport();
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashPlace, ofEightThreadsThatCrashAtOnceTheProcessDiesOfTheirSignal)
{
    EXPECT_EQ(crash("abort", {"in=eight-threads"}).signal, SIGABRT);
    expectGoodDump(dump(), SIGABRT, "crashByAbort");
}

TEST_F(CrashPlace, aThreadThatCrashesMeanwhileIsShownWhereItCrashed)
{
    ASSERT_EQ(mkfifo(report().c_str(), 0600), 0); // nobody reads it: the report takes all of its time
    crash("null-write", {"in=two-threads-in-turn"});
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
    EXPECT_EQ(countLines(readAllThreadsWithLldb(dump()).out, "crashByNullWrite"), 2U);
}

TEST_F(CrashPlace, aCrashAfterTerminateIsCaught)
{
    EXPECT_EQ(crash("null-write", {"in=after-terminate"}).signal, SIGSEGV);
    expectReport();
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashPlace, aCrashDuringExitIsCaught)
{
    EXPECT_EQ(crash("null-write", {"in=exit"}).signal, SIGSEGV);
    expectReport();
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashPlace, aForkedChildHasADumpOfItsOwn)
{
    EXPECT_EQ(crash("null-write", {"in=fork"}).exitCode, SIGSEGV);
    expectGoodDump(childsDump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashPlace, aForkedChildLeavesItsParentsFilesAlone)
{
    writeFile(dump(), "the parent's");
    writeFile(report(), "the parent's");
    crash("null-write", {"in=fork"});
    EXPECT_EQ(readFile(dump()), "the parent's");
    EXPECT_EQ(readFile(report()), "the parent's");
}

TEST_F(CrashPlace, aForkedChildsHandlerGetsTheChildsDump)
{
    EXPECT_EQ(crash("null-write", {"in=fork", "handler=true"}).exitCode, 100 + 1);
    EXPECT_EQ(handlersPath(), childsDump().string());
}
