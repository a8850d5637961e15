#include "crash/support/CrashFixture.h"

using namespace Brennic::Testing;

namespace {

// With a child that reaches what no host can.
class CrashInside : public CrashFixture
{
protected:
    ChildProcess startInside(const std::string& kind) const
    {
        return ChildProcess(BRN_CRASH_CHILD_INSIDE, {m_host.string(), kind}, m_directory.path());
    }
};

} // namespace

TEST_F(CrashInside, aDumpWithoutAPathIsNamedAfterProcessIdAndTimeAndCannotBeGuessed)
{
    ChildProcess child = startInside("null-write");
    const std::string id = std::to_string(child.id());
    child.wait();
    EXPECT_THAT(
        temporaryDump().filename().string(),
        ::testing::MatchesRegex("crash_child_inside-" + id + "-20[0-9]{6}-[0-9]{6}-[a-z2-7]{12}\\.dmp"));
}
