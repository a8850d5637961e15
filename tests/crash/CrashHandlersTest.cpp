#include "crash/support/CrashFixture.h"

#include "support/Eventually.h"

using namespace Brennic::Testing;

namespace {

class CrashHandler : public CrashFixture
{
};

} // namespace

TEST_F(CrashHandler, thatReturnsTrueIsFollowedByExitCodeOne)
{
    const ProcessEnd end = crash("null-write", {"handler=true"});
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_LT(end.time.count(), usualTime);
    EXPECT_EQ(handlersPath(), dump().string());
    expectReport();
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashHandler, thatReturnsFalseIsFollowedByExitCodeOneToo)
{
    EXPECT_EQ(crash("abort", {"handler=false"}).exitCode, 1);
    EXPECT_EQ(handlersPath(), dump().string());
    expectGoodDump(dump(), SIGABRT, "crashByAbort");
}

TEST_F(CrashHandler, findsReportAndDumpFinished)
{
    EXPECT_EQ(crash("null-write", {"handler=check-files"}).exitCode, 1);
    EXPECT_EQ(readFile(m_host / "found"), "dump and report");
}

TEST_F(CrashHandler, isCalledOnTheCrashingThread)
{
    crash("null-write", {"handler=note-thread", "in=thread"});
    EXPECT_EQ(readFile(m_host / "thread"), std::to_string(Minidump(dump()).crashedThread()));
}

TEST_F(CrashHandler, thatCrashesEndsTheProcessAllTheSame)
{
    const ProcessEnd end = crash("null-write", {"handler=segfault"});
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_LT(end.time.count(), usualTime);
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashHandler, thatAbortsEndsTheProcessAllTheSame)
{
    EXPECT_EQ(crash("null-write", {"handler=abort"}).exitCode, 1);
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashHandler, thatAbortsInAnAbortEndsTheProcessAllTheSame)
{
    EXPECT_EQ(crash("abort", {"handler=abort"}).exitCode, 1);
    expectGoodDump(dump(), SIGABRT, "crashByAbort");
}

TEST_F(CrashHandler, thatThrowsEndsTheProcessAllTheSame)
{
    EXPECT_EQ(crash("null-write", {"handler=throw"}).exitCode, 1);
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashHandler, thatEndsItsThreadEndsTheProcessAllTheSame)
{
    EXPECT_EQ(crash("null-write", {"handler=end-thread", "in=thread"}).exitCode, 1);
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashHandler, mayWaitAsLongAsItLikes)
{
    constexpr std::chrono::seconds longerThanAnyLimit{7};
    ChildProcess child = start("null-write", {"handler=wait"});
    ASSERT_TRUE(eventually([this] { return handlersPath() == dump().string(); }));
    const auto end = std::chrono::steady_clock::now() + longerThanAnyLimit;
    EXPECT_FALSE(eventually([&] { return !child.isRunning() || std::chrono::steady_clock::now() > end; }) &&
                 !child.isRunning());
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashHandler, thatNeedsNoMemoryIsCalledInSpiteOfABrokenHeap)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer's heap does not break so";
    const ProcessEnd end = crash("heap-top", {"handler=true"});
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_LT(end.time.count(), 3000); // a second of it to find out about the heap
    EXPECT_EQ(handlersPath(), dump().string());
    expectGoodDump(dump(), SIGABRT, "crashInHeapByTopChunk");
}

TEST_F(CrashHandler, thatHangsInABrokenHeapIsEndedAfterFiveSeconds)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer's heap does not break so";
    const ProcessEnd end = crash("heap-double-free", {"handler=allocate"});
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_GT(end.time.count(), 5000);
    EXPECT_LT(end.time.count(), 9000);
    EXPECT_EQ(handlersPath(), dump().string());
    expectGoodDump(dump(), SIGABRT, "crashInHeapByDoubleFree");
}

TEST_F(CrashHandler, mayAllocateAfterAnOrdinaryCrash)
{
    const ProcessEnd end = crash("null-write", {"handler=allocate"});
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_LT(end.time.count(), usualTime);
}

TEST_F(CrashHandler, thatForksAChildThatCrashesIsNotCalledAgain)
{
    const ProcessEnd end = crash("null-write", {"handler=fork-and-crash"});
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_LT(end.time.count(), usualTime);
    EXPECT_THAT(dumpsIn(m_host), ::testing::ElementsAre(dump()));
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashHandler, mayReplaceItself)
{
    EXPECT_EQ(crash("null-write", {"handler=change-settings"}).exitCode, 1);
    EXPECT_EQ(handlersPath(), dump().string());
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashHandler, runsWithTheSignalsOfItsThread)
{
    EXPECT_EQ(crash("null-write", {"handler=terminate"}).signal, SIGTERM);
    EXPECT_EQ(handlersPath(), dump().string());
}
