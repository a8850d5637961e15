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

TEST_F(CrashPlace, aThreadThatDidNotAskDiesOfItsStackOverflowWithoutATrace)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer gives every thread a second stack";
    EXPECT_EQ(crash("stack-overflow", {"in=thread"}).signal, SIGSEGV);
    EXPECT_THAT(dumpsIn(m_host), ::testing::IsEmpty());
    EXPECT_THAT(dumpsIn(m_temporary), ::testing::IsEmpty());
}

TEST_F(CrashPlace, aThreadThatCrashesMeanwhileIsShownWhereItCrashed)
{
    ASSERT_EQ(mkfifo(report().c_str(), 0600), 0); // nobody reads it: the report takes all of its time
    crash("null-write", {"in=two-threads-in-turn"});
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
    EXPECT_EQ(countLines(readAllThreadsWithLldb(dump()).out, "crashByNullWrite"), 2U);
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
