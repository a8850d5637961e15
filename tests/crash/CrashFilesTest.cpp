#include "crash/support/CrashFixture.h"

#include <algorithm>

#include <sys/resource.h>

using namespace Brennic::Testing;

namespace {

class CrashFiles : public CrashFixture
{
};

std::filesystem::path copyOfChild(const std::filesystem::path& directory)
{
    std::filesystem::create_directories(directory);
    std::filesystem::copy_file(BRN_CRASH_CHILD, directory / "crash_child");
    return directory / "crash_child";
}

} // namespace

TEST_F(CrashFiles, ofAnEarlierCrashAreReplaced)
{
    writeFile(dump(), "an old dump");
    EXPECT_EQ(crash("null-write").signal, SIGSEGV);
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashFiles, ofAnotherProcessThatAreNotFinishedAreLeftAlone)
{
    const std::filesystem::path others = dump().string() + ".part";
    writeFile(others, "half of one");
    EXPECT_EQ(crash("null-write").signal, SIGSEGV);
    EXPECT_EQ(readFile(others), "half of one");
    std::filesystem::remove(others);
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashFiles, areWrittenThroughNoLink)
{
    writeFile(m_directory / "victim", "precious");
    std::filesystem::create_symlink(m_directory / "victim", report());
    std::filesystem::create_symlink(m_directory / "victim", dump());
    EXPECT_EQ(crash("null-write").signal, SIGSEGV);
    EXPECT_EQ(readFile(m_directory / "victim"), "precious");
    expectReport();
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}

TEST_F(CrashFiles, areReadableByTheirOwnerAlone)
{
    crash("null-write");
    const auto permissions = std::filesystem::status(dump()).permissions();
    EXPECT_EQ(permissions, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(CrashFiles, ofAProgramThatWasDeletedNameItByItsPathAndBuildId)
{
    const std::filesystem::path program = copyOfChild(m_directory / "bin");
    ChildProcess child(program, {m_host.string(), "null-write", "delete=" + program.string()},
                       m_directory.path());
    EXPECT_EQ(child.wait().signal, SIGSEGV);
    const Minidump minidump(dump());
    EXPECT_EQ(minidump.modules()[0].name, program.string());
    EXPECT_THAT(readWithLldb(dump(), BRN_CRASH_CHILD).out, ::testing::HasSubstr("crashByNullWrite"));
}

TEST_F(CrashFiles, ofAProgramThatWasReplacedNameItByItsPathAndBuildId)
{
    const std::filesystem::path program = copyOfChild(m_directory / "bin");
    const std::string other = std::filesystem::read_symlink("/proc/self/exe").string();
    ChildProcess child(program,
                       {m_host.string(), "null-write", "delete=" + program.string(), "replace-by=" + other},
                       m_directory.path());
    EXPECT_EQ(child.wait().signal, SIGSEGV);
    EXPECT_EQ(std::filesystem::file_size(program), std::filesystem::file_size(other));
    EXPECT_EQ(Minidump(dump()).modules()[0].name, program.string());
    EXPECT_THAT(readWithLldb(dump(), BRN_CRASH_CHILD).out, ::testing::HasSubstr("crashByNullWrite"));
}

TEST_F(CrashFiles, holdExactlyTheStreamsThatAreDocumented)
{
    crash("null-write");
    EXPECT_THAT(Minidump(dump()).streamTypes(), ::testing::ElementsAre(3, 4, 5, 6, 7, 16, 24, 0x47670004,
                                                                       0x47670006, 0x47670008, 0x47670009));
}

TEST_F(CrashFiles, holdNoEnvironmentVariables)
{
    setenv("BRN_SECRET", "hidden in the environment", 1);
    crash("null-write");
    EXPECT_FALSE(Minidump(dump()).holds("hidden in the environment"));
}

TEST_F(CrashFiles, tellCommandLineStatusAndMappings)
{
    const ProcessEnd end = crash("null-write");
    ASSERT_EQ(end.signal, SIGSEGV);
    const Minidump minidump(dump());
    EXPECT_THAT(minidump.stream(0x47670006), ::testing::HasSubstr("null-write"));
    EXPECT_THAT(minidump.stream(0x47670004), ::testing::HasSubstr("Name:\tcrash_child"));
    EXPECT_THAT(minidump.stream(0x47670009), ::testing::HasSubstr("[stack]"));
    EXPECT_EQ(minidump.stream(0x47670008).size() % 16, 0U);
}

TEST_F(CrashFiles, nameTheThreads)
{
    crash("null-write", {"in=thread"});
    std::vector<std::string> names;
    for (const auto& thread : Minidump(dump()).threadNames())
        names.push_back(thread.second);
    EXPECT_THAT(names, ::testing::IsSupersetOf({"crash_child", "crash-report"}));
}

TEST_F(CrashFiles, tellAddressAndCauseOfTheFault)
{
    crash("null-write");
    const Minidump minidump(dump());
    EXPECT_EQ(minidump.exceptionAddress(), 0U);
    EXPECT_EQ(minidump.exceptionFlags(), static_cast<std::uint32_t>(SEGV_MAPERR));
}

TEST_F(CrashFiles, holdTheStackAboveTheGuardPageOfAnOverflow)
{
    crash("stack-overflow", {"in=guarded-thread"});
    const Minidump minidump(dump());
    const std::uint64_t stackPointer = minidump.crashedStackPointer();
    const auto memory = minidump.memory();
    EXPECT_TRUE(std::any_of(memory.begin(), memory.end(), [stackPointer](const Minidump::Range& range) {
        return range.size >= 64 * 1024 && range.start + range.size > stackPointer &&
               range.start < stackPointer + 0x10000;
    }));
}

TEST_F(CrashFiles, comeBesideTheSystemsOwnCore)
{
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_CORE, &unlimited);
    if (!crash("abort", {"kernel=none"}).hasCore)
        GTEST_SKIP() << "the system writes no cores";
    const ProcessEnd end = crash("abort");
    EXPECT_EQ(end.signal, SIGABRT);
    EXPECT_TRUE(end.hasCore);
    EXPECT_TRUE(std::filesystem::exists(dump()));
}
