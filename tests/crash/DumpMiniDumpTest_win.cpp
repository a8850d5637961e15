#include <brn_mesh_common/WinUtil.h>

#include <atomic>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include "support/Eventually.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic;
using namespace Brennic::Testing;

namespace {

class DumpMiniDumpTest : public ::testing::Test
{
protected:
    DumpMiniDumpTest() { SetEnvironmentVariableW(L"TMP", m_directory.path().c_str()); }

    std::filesystem::path dump() const { return m_directory / "asked.dmp"; }
    bool ask() const { return WinUtil::DumpMiniDump(nullptr, dump().c_str()); }
    // Not read any further: the file is the system's work.
    static bool isDump(const std::filesystem::path& path)
    {
        const std::string bytes = readFile(path);
        return bytes.size() > 10'000 && bytes.substr(0, 4) == "MDMP";
    }
    std::ptrdiff_t fileCount() const
    {
        return std::distance(std::filesystem::directory_iterator(m_directory.path()), {});
    }

    TemporaryDirectory m_directory;
};

} // namespace

TEST_F(DumpMiniDumpTest, aDumpCanBeAskedForWithoutACrash)
{
    ASSERT_TRUE(ask());
    EXPECT_TRUE(isDump(dump()));
    EXPECT_EQ(fileCount(), 1);
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

TEST_F(DumpMiniDumpTest, severalThreadsMayAskAtOnce)
{
    constexpr int count = 3;
    std::vector<std::thread> threads;
    std::atomic<int> written{0};
    for (int i = 0; i != count; ++i) {
        threads.emplace_back([this, i, &written] {
            const std::filesystem::path path = m_directory / (std::to_string(i) + ".dmp");
            written += WinUtil::DumpMiniDump(nullptr, path.c_str()) ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(written, count);
    for (int i = 0; i != count; ++i)
        EXPECT_TRUE(isDump(m_directory / (std::to_string(i) + ".dmp")));
}

// With the lock of the heap taken the system's writer may hang, until its time is up.
TEST_F(DumpMiniDumpTest, aDumpThatHangsKeepsNobodyFromTheNext)
{
    HeapLock(GetProcessHeap());
    ask();
    HeapUnlock(GetProcessHeap());
    bool isWritten = false; // once the writer has come back, which takes a busy machine long
    for (int tries = 0; tries != 5 && !isWritten; ++tries)
        isWritten = eventually([this] { return ask(); });
    EXPECT_TRUE(isWritten);
    EXPECT_TRUE(isDump(dump()));
}

TEST_F(DumpMiniDumpTest, withoutAPathItIsAmongTheTemporaryFiles)
{
    EXPECT_TRUE(WinUtil::DumpMiniDump(nullptr, nullptr));
    ASSERT_EQ(fileCount(), 1);
    const std::filesystem::path file = *std::filesystem::directory_iterator(m_directory.path());
    EXPECT_THAT(file.filename().string(), ::testing::MatchesRegex("dump_test-\\d+-20\\d+-\\d+-\\w+\\.dmp"));
}

TEST_F(DumpMiniDumpTest, anOlderFileIsReplaced)
{
    writeFile(dump(), std::string(10'000'000, 'x'));
    ASSERT_TRUE(ask());
    EXPECT_LT(std::filesystem::file_size(dump()), 10'000'000U);
    EXPECT_TRUE(isDump(dump()));
}

TEST_F(DumpMiniDumpTest, aNameThatTheAnsiCodePageCannotHoldIsPossible)
{
    const std::filesystem::path path = m_directory.path() / L"Gr\u00f6\u00dfe \u6a21 \U0001F600.dmp";
    ASSERT_TRUE(WinUtil::DumpMiniDump(nullptr, path.c_str()));
    EXPECT_TRUE(isDump(path));
}

TEST_F(DumpMiniDumpTest, withoutAnyRoomItReportsFailureAndLeavesNothing)
{
    SetEnvironmentVariableW(L"TMP", (m_directory / "missing").c_str());
    const std::filesystem::path path = m_directory.path() / "missing" / "asked.dmp";
    EXPECT_FALSE(WinUtil::DumpMiniDump(nullptr, path.c_str()));
    EXPECT_EQ(fileCount(), 0);
}
