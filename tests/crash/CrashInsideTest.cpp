#include "crash/support/CrashFixture.h"

using namespace Brennic::Testing;

namespace {

// With a child that reaches what no host can.
class CrashInside : public CrashFixture
{
protected:
    ProcessEnd crashInside(const std::string& kind, const std::string& place) const
    {
        return ChildProcess(BRN_CRASH_CHILD_INSIDE, {m_host.string(), kind, place}, m_directory.path())
            .wait();
    }

    std::filesystem::path insideDump() const { return m_host / "crash_child_inside.dmp"; }
};

} // namespace

TEST_F(CrashInside, aWorkerSurvivesItsStackOverflowLongEnough)
{
    EXPECT_EQ(crashInside("stack-overflow", "worker").signal, SIGSEGV);
    expectGoodDump(insideDump(), SIGSEGV, "crashByRecursion");
}

TEST_F(CrashInside, anUncaughtExceptionOnAWorkerIsNamed)
{
    EXPECT_EQ(crashInside("throw", "worker").signal, SIGABRT);
    expectGoodDump(insideDump(), SIGABRT, "crashByException");
}

TEST_F(CrashInside, aDirectorySetAfterInitializeMeansNoReportAndADumpAmongTheTemporaryFiles)
{
    EXPECT_EQ(crashInside("null-write", "re-pointed").exitCode, 1);
    EXPECT_EQ(handlersPath(), "");
    EXPECT_THAT(dumpsIn(m_host), ::testing::IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(m_host / "crash_child_inside_command_log.xml"));
    expectGoodDump(temporaryDump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashInside, aDumpWithoutAPathIsNamedAfterProcessIdAndTime)
{
    ChildProcess child(BRN_CRASH_CHILD_INSIDE, {m_host.string(), "null-write", "re-pointed"},
                       m_directory.path());
    const std::string id = std::to_string(child.id());
    child.wait();
    EXPECT_THAT(temporaryDump().filename().string(),
                ::testing::MatchesRegex("crash_child_inside-" + id + "-20[0-9]{6}-[0-9]{6}\\.dmp"));
}
