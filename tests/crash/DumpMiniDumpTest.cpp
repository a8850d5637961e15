#include <brn_mesh_common/ExceptionPointers_linux.h>
#include <brn_mesh_common/WinUtil.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "crash/support/DumpReaders.h"
#include "crash/support/Minidump.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic;
using namespace Brennic::Testing;

namespace {

class DumpMiniDumpTest : public ::testing::Test
{
protected:
    DumpMiniDumpTest() { setenv("TMPDIR", m_directory.path().c_str(), 1); }
    ~DumpMiniDumpTest() override { unsetenv("TMPDIR"); }

    std::filesystem::path dump() const { return m_directory / "asked.dmp"; }
    bool ask() const { return WinUtil::DumpMiniDump(nullptr, m_wideDump.c_str()); }

    TemporaryDirectory m_directory;
    std::wstring m_wideDump = wide(m_directory / "asked.dmp");
};

__attribute__((noinline)) bool askFromHere(const std::wstring& path)
{
    const bool isWritten = WinUtil::DumpMiniDump(nullptr, path.c_str());
    return isWritten && !path.empty(); // no tail call
}

} // namespace

TEST_F(DumpMiniDumpTest, aDumpCanBeAskedForWithoutACrash)
{
    ASSERT_TRUE(askFromHere(m_wideDump));
    const ReaderOutput lldb = readWithLldb(dump());
    EXPECT_THAT(lldb.out, ::testing::HasSubstr("askFromHere"));
    EXPECT_THAT(lldb.out, ::testing::Not(::testing::HasSubstr("stop reason = signal")));
    EXPECT_EQ(readWithObj2yaml(dump()).exitCode, 0);
}

TEST_F(DumpMiniDumpTest, aDumpWithoutACrashSaysSo)
{
    ASSERT_TRUE(ask());
    EXPECT_EQ(Minidump(dump()).exceptionCode(), 0xffffffffU);
    EXPECT_EQ(Minidump(dump()).crashedThread(), static_cast<std::uint32_t>(gettid()));
}

TEST_F(DumpMiniDumpTest, threadsGoOnAfterwards)
{
    std::atomic<bool> isEnough{false};
    std::atomic<unsigned> rounds{0};
    std::thread thread([&] {
        while (!isEnough)
            ++rounds;
    });
    while (rounds == 0)
        std::this_thread::yield();
    ASSERT_TRUE(ask());
    const unsigned before = rounds;
    while (rounds == before)
        std::this_thread::yield();
    isEnough = true;
    thread.join();
}

TEST_F(DumpMiniDumpTest, aSignalOnItsWayToAStoppedThreadArrives)
{
    static std::atomic<int> arrived{0};
    arrived = 0;
    std::signal(SIGUSR1, [](int) { ++arrived; });
    constexpr int rounds = 200;
    std::atomic<int> sent{0};
    std::thread sender([&] {
        for (; sent != rounds; ++sent) {
            const int before = arrived;
            kill(getpid(), SIGUSR1);
            while (arrived == before)
                std::this_thread::yield();
        }
    });
    while (sent != rounds)
        ASSERT_TRUE(ask());
    sender.join();
    EXPECT_EQ(arrived, rounds);
}

TEST_F(DumpMiniDumpTest, severalThreadsMayAskAtOnce)
{
    std::vector<std::thread> threads;
    std::atomic<int> written{0};
    for (int i = 0; i != 8; ++i) {
        threads.emplace_back([this, i, &written] {
            const std::wstring path = wide(m_directory / (std::to_string(i) + ".dmp"));
            written += WinUtil::DumpMiniDump(nullptr, path.c_str()) ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(written, 8);
    for (int i = 0; i != 8; ++i)
        EXPECT_NO_THROW(Minidump(m_directory / (std::to_string(i) + ".dmp")));
}

TEST_F(DumpMiniDumpTest, withoutAPathEachDumpIsANewFile)
{
    EXPECT_TRUE(WinUtil::DumpMiniDump(nullptr, nullptr));
    EXPECT_TRUE(WinUtil::DumpMiniDump(nullptr, nullptr));
    const std::filesystem::directory_iterator files(m_directory.path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 2);
}

TEST_F(DumpMiniDumpTest, anOlderFileIsReplaced)
{
    writeFile(dump(), std::string(1'000'000, 'x'));
    ASSERT_TRUE(ask());
    EXPECT_LT(std::filesystem::file_size(dump()), 1'000'000U);
    EXPECT_NO_THROW(Minidump{dump()});
}

TEST_F(DumpMiniDumpTest, aLinkUnderTheTemporaryNameIsNotFollowed)
{
    const std::filesystem::path victim = m_directory / "victim";
    writeFile(victim, "precious");
    std::filesystem::create_symlink(victim, dump().string() + ".part");
    ASSERT_TRUE(ask());
    EXPECT_EQ(readFile(victim), "precious");
    EXPECT_NO_THROW(Minidump{dump()});
}

// The reader is another process: a thread of this one would be stopped while it is dumped, and the pipe would fill.
TEST_F(DumpMiniDumpTest, aFifoIsWrittenTo)
{
    ASSERT_EQ(mkfifo(dump().c_str(), 0600), 0);
    const std::filesystem::path copy = m_directory / "copy.dmp";
    FILE* const reader = popen(("cat '" + dump().string() + "' > '" + copy.string() + "'").c_str(), "r");
    ASSERT_NE(reader, nullptr);
    const int writingEnd = open(dump().c_str(), O_WRONLY | O_CLOEXEC); // blocks until the reader is there
    const bool isWritten = ask();
    close(writingEnd);
    EXPECT_EQ(pclose(reader), 0);
    EXPECT_TRUE(isWritten);
    EXPECT_TRUE(std::filesystem::is_fifo(dump()));
    EXPECT_NO_THROW(Minidump{copy});
}

// What the pipe has taken cannot be taken back, and a second dump behind half of one could not be read.
TEST_F(DumpMiniDumpTest, aFifoWhoseReaderStandsStillSendsTheDumpToTheTemporaryFiles)
{
    constexpr int capacity = 4096;
    ASSERT_EQ(mkfifo(dump().c_str(), 0600), 0);
    const int readingEnd = open(dump().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_EQ(fcntl(readingEnd, F_SETPIPE_SZ, capacity), capacity);
    EXPECT_TRUE(ask());
    std::vector<char> taken(2 * capacity);
    EXPECT_EQ(read(readingEnd, taken.data(), taken.size()), capacity);
    EXPECT_EQ(read(readingEnd, taken.data(), taken.size()), 0);
    close(readingEnd);
    int others = 0;
    for (const auto& entry : std::filesystem::directory_iterator(m_directory.path())) {
        if (entry.path() == dump())
            continue;
        ++others;
        EXPECT_NO_THROW(Minidump{entry.path()});
    }
    EXPECT_EQ(others, 1);
}

TEST_F(DumpMiniDumpTest, aFifoThatNobodyReadsSendsTheDumpToTheTemporaryFiles)
{
    ASSERT_EQ(mkfifo(dump().c_str(), 0600), 0);
    EXPECT_TRUE(ask());
    EXPECT_TRUE(std::filesystem::is_fifo(dump()));
    const std::filesystem::directory_iterator files(m_directory.path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 2);
}

TEST_F(DumpMiniDumpTest, aNameOfTheGreatestLengthIsPossible)
{
    const std::filesystem::path path = m_directory / (std::string(251, 'n') + ".dmp");
    ASSERT_TRUE(WinUtil::DumpMiniDump(nullptr, wide(path).c_str()));
    EXPECT_NO_THROW(Minidump{path});
}

TEST_F(DumpMiniDumpTest, withoutAnyRoomItReportsFailureAndLeavesNothing)
{
    setenv("TMPDIR", (m_directory / "missing").c_str(), 1);
    const std::wstring path = wide(m_directory / "missing" / "asked.dmp");
    EXPECT_FALSE(WinUtil::DumpMiniDump(nullptr, path.c_str()));
    EXPECT_TRUE(std::filesystem::is_empty(m_directory.path()));
}

TEST_F(DumpMiniDumpTest, aHandlerOfTheHostsOwnMayAskForIt)
{
    static const wchar_t* path = nullptr;
    path = m_wideDump.c_str();
    struct sigaction action
    {
    };
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = [](int, siginfo_t* information, void* context) {
        _EXCEPTION_POINTERS exception{information, static_cast<ucontext_t*>(context)};
        WinUtil::DumpMiniDump(&exception, path);
    };
    sigaction(SIGUSR2, &action, nullptr);
    raise(SIGUSR2);
    EXPECT_EQ(Minidump(dump()).exceptionCode(), static_cast<std::uint32_t>(SIGUSR2));
}

TEST_F(DumpMiniDumpTest, descriptorsLimitsAndSignalMaskAreAsBefore)
{
    const auto describe = [] {
        const std::filesystem::directory_iterator descriptors("/proc/self/fd");
        const std::string status = readFile("/proc/self/status");
        const std::size_t masks = status.find("SigPnd");
        return readFile("/proc/self/limits") + status.substr(masks, status.find("CapInh") - masks) +
               std::to_string(std::distance(begin(descriptors), end(descriptors)));
    };
    const std::string before = describe();
    ASSERT_TRUE(ask());
    EXPECT_EQ(describe(), before);
}
