#include <algorithm>
#include <array>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/KernelFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

constexpr int threadCount = 8;
constexpr int recordsPerThread = 5000;

std::wstring payload(int thread)
{
    return std::wstring(50, static_cast<wchar_t>(L'a' + thread));
}

// Expects each record once, whole, and in the order in which its thread wrote them.
void expectEveryRecordOnce(const std::vector<std::string>& lines, const std::string& prefix)
{
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(threadCount * recordsPerThread));
    std::array<int, threadCount> next{};
    for (const std::string& line : lines) {
        ASSERT_GT(line.size(), prefix.size());
        const auto thread = static_cast<std::size_t>(line[prefix.size()] - '0');
        ASSERT_LT(thread, next.size()) << line;
        const std::string expected = prefix + std::to_string(thread) + ' ' + std::to_string(next[thread]++) +
                                     ' ' + std::string(50, static_cast<char>('a' + thread));
        ASSERT_EQ(line, expected);
    }
}

class LoggingStressTest : public KernelFixture
{
};

} // namespace

TEST_F(LoggingStressTest, eightThreadsLoseAndTearNoLine)
{
    initializeWithPlainLines();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([this, thread] {
            for (int record = 0; record < recordsPerThread; ++record)
                logger().Log(Info, L"%d %d %s", thread, record, payload(thread).c_str());
        });
    for (std::thread& thread : threads)
        thread.join();
    expectEveryRecordOnce(logLines(), "");
    expectEveryRecordOnce(splitLines(console.text()), "");
    expectEveryRecordOnce(splitLines(debugger.text()), "[KVS_LOG] ");
}

TEST_F(LoggingStressTest, theLevelMayChangeWhileOthersLog)
{
    initializeWithPlainLines();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([this] {
            for (int record = 0; record < 500; ++record) {
                logger().Log(Fatal, L"always");
                logger().Log(Debug, L"sometimes");
            }
        });
    for (int change = 0; change < 500; ++change)
        kernel.SetLogLevel(change % 2 == 0 ? Debug : Info);
    for (std::thread& thread : threads)
        thread.join();
    const std::vector<std::string> lines = logLines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "always"), threadCount * 500);
}
