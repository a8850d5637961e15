#include <brn_mesh_kernel/logging/DebuggerOutput.h>

#include <algorithm>
#include <array>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/CapturedOutput.h"
#include "support/Files.h"

using Brennic::Core::writeDebuggerLine;
using namespace Brennic::Testing;

TEST(DebuggerOutput, aClosedStandardErrorLosesOnlyTheLinesOfThatTime)
{
    const CapturedOutput debugger(STDERR_FILENO);
    const int saved = ::dup(STDERR_FILENO);
    ::close(STDERR_FILENO);
    writeDebuggerLine(L"nobody hears");
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    writeDebuggerLine(L"heard again");
    EXPECT_EQ(debugger.text(), "[KVS_LOG] heard again\n");
}

TEST(DebuggerOutput, aLineThatAFullPipeRefusesDoesNotSpoilTheNext)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_NONBLOCK), 0);
    std::string received(1 << 20, '\0');
    {
        const CapturedOutput restoresStandardError(STDERR_FILENO);
        ::dup2(ends[1], STDERR_FILENO);
        writeDebuggerLine(std::wstring(200'000, L'x')); // more than a pipe takes
        received.resize(static_cast<std::size_t>(::read(ends[0], received.data(), received.size())));
        writeDebuggerLine(L"next");
    }
    EXPECT_EQ(received.find('\n'), std::string::npos);
    std::array<char, 100> rest{};
    const ssize_t count = ::read(ends[0], rest.data(), rest.size());
    ASSERT_GT(count, 0);
    EXPECT_EQ(std::string(rest.data(), static_cast<std::size_t>(count)), "\n[KVS_LOG] next\n");
    ::close(ends[0]);
    ::close(ends[1]);
}

// A pipe takes long lines in portions: the lines must still come out one after the other.
TEST(DebuggerOutput, longLinesOfSeveralThreadsDoNotMixInAPipe)
{
    constexpr std::size_t lineLength = 200'000;
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    std::string received;
    {
        const CapturedOutput restoresStandardError(STDERR_FILENO);
        ::dup2(ends[1], STDERR_FILENO);
        ::close(ends[1]);
        std::thread reader([&] {
            std::array<char, 65536> buffer{};
            for (ssize_t count = 0; (count = ::read(ends[0], buffer.data(), buffer.size())) > 0;)
                received.append(buffer.data(), static_cast<std::size_t>(count));
        });
        std::vector<std::thread> writers;
        for (const wchar_t letter : {L'a', L'b', L'c', L'd'})
            writers.emplace_back([letter] { writeDebuggerLine(std::wstring(lineLength, letter)); });
        for (std::thread& writer : writers)
            writer.join();
        ::close(STDERR_FILENO); // the last writing end: the reader comes to the end
        reader.join();
    }
    ::close(ends[0]);
    std::vector<std::string> lines = splitLines(received);
    std::sort(lines.begin(), lines.end());
    ASSERT_EQ(lines.size(), 4U);
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_TRUE(lines[i] == "[KVS_LOG] " + std::string(lineLength, static_cast<char>('a' + i))) << i;
}
