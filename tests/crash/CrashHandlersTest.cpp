#include "crash/support/CrashFixture.h"
#include "crash/support/TimeLimits.h"

#include "support/Eventually.h"

using namespace Brennic::Testing;

namespace {

class CrashHandler : public CrashFixture
{
};

} // namespace

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
    EXPECT_TRUE(isBelow(end.time, 3000)); // a second of it to find out about the heap
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
    EXPECT_TRUE(isBelow(end.time, 9000));
    EXPECT_EQ(handlersPath(), dump().string());
    expectGoodDump(dump(), SIGABRT, "crashInHeapByDoubleFree");
}

TEST_F(CrashHandler, thatForksAChildThatCrashesIsNotCalledAgain)
{
    const ProcessEnd end = crash("null-write", {"handler=fork-and-crash"});
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_TRUE(isBelow(end.time, usualTime));
    EXPECT_THAT(dumpsIn(m_host), ::testing::ElementsAre(dump()));
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashHandler, runsWithTheSignalsOfItsThread)
{
    EXPECT_EQ(crash("null-write", {"handler=terminate"}).signal, SIGTERM);
    EXPECT_EQ(handlersPath(), dump().string());
}
