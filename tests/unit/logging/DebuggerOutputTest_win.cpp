#include <brn_mesh_kernel/logging/DebuggerOutput.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/CapturedDebugger.h"
#include "support/Files.h"

using Brennic::Core::writeDebuggerLine;
using namespace Brennic::Testing;

TEST(DebuggerOutput, longLinesOfSeveralThreadsDoNotMix)
{
    constexpr std::size_t lineLength = 30'000; // more is cut by a system that sends ANSI text
    const CapturedDebugger debugger;
    std::vector<std::thread> writers;
    for (const wchar_t letter : {L'a', L'b', L'c', L'd'})
        writers.emplace_back([letter] { writeDebuggerLine(std::wstring(lineLength, letter)); });
    for (std::thread& writer : writers)
        writer.join();
    std::vector<std::string> lines = splitLines(debugger.text());
    std::sort(lines.begin(), lines.end());
    ASSERT_EQ(lines.size(), 4U);
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_TRUE(lines[i] == "[KVS_LOG] " + std::string(lineLength, static_cast<char>('a' + i))) << i;
}
