#include <brn_mesh_kernel/progress/ConsoleProgress.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <log4cplus/logger.h>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>
#include <brn_mesh_kernel/progress/Progress.h>

#include "conformance/progress/PseudoTerminal_linux.h"
#include "support/CapturedDebugger.h"
#include "support/Files.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using Clock = std::chrono::steady_clock;

namespace {

const std::string eraseSequence = "\r\x1b[K";

// The texts of the line, one for each time that it was drawn or erased.
std::vector<std::string> drawings(const std::string& output)
{
    std::vector<std::string> texts;
    for (std::size_t start = 0; (start = output.find(eraseSequence, start)) != std::string::npos;) {
        start += eraseSequence.size();
        texts.push_back(output.substr(start, output.find_first_of("\r\n", start) - start));
    }
    return texts;
}

// What a terminal shows in the end: each line without what was erased in it.
std::vector<std::string> linesShown(const std::string& output)
{
    std::vector<std::string> lines = splitLines(output);
    for (std::string& line : lines) {
        const std::size_t erased = line.rfind(eraseSequence);
        line.erase(0, erased == std::string::npos ? 0 : erased + eraseSequence.size());
        line.resize(line.size() - (!line.empty() && line.back() == '\r' ? 1 : 0));
    }
    return lines;
}

class ConsoleProgressOnTerminal : public TaskFixture
{
protected:
    void SetUp() override
    {
        if (!terminal.isOpen())
            GTEST_SKIP() << "the system gives us no terminal";
    }

    bool serveUntilShown(const std::string& text)
    {
        return serveUntil([&] { return terminal.text().find(text) != std::string::npos; });
    }

    void serveFor(std::chrono::milliseconds time)
    {
        const auto end = Clock::now() + time;
        EXPECT_TRUE(serveUntil([&] { return Clock::now() > end; }));
    }

    PseudoTerminal terminal{60};
    std::shared_ptr<Progress> root = std::make_shared<Progress>(100, L"Smooth");
};

} // namespace

TEST_F(ConsoleProgressOnTerminal, theLineShowsWhatWasReported)
{
    const ConsoleProgress line(root);
    EXPECT_TRUE(line.isLive());
    EXPECT_TRUE(runAside([&] { root->setCompletedUnitCount(61); }));
    EXPECT_TRUE(serveUntilShown("]  61 %"));
    root->setDescription(L"Save");
    root->setCompletedUnitCount(100);
    EXPECT_TRUE(serveUntilShown("Save       ["));
    EXPECT_TRUE(serveUntilShown("] 100 %"));
}

TEST_F(ConsoleProgressOnTerminal, theLineShowsTheExactFraction)
{
    root = std::make_shared<Progress>(0, L"Smooth");
    const auto part = std::make_shared<Progress>(100);
    root->addChildWithPendingCount(part, 100);
    const ConsoleProgress line(root);
    for (int i = 0; i < 57; ++i)
        ++*part;
    EXPECT_LT(root->getCompletedUnitCount(), 57);
    EXPECT_TRUE(serveUntilShown("]  57 %"));
}

TEST_F(ConsoleProgressOnTerminal, theLineSaysThatTheWorkIsCancelled)
{
    root->setCompletedUnitCount(61);
    const ConsoleProgress line(root);
    EXPECT_TRUE(serveUntilShown(" left"));
    EXPECT_TRUE(runAside([&] { root->cancel(); }));
    EXPECT_TRUE(serveUntilShown(" elapsed  cancelled"));
    EXPECT_THAT(drawings(terminal.text()).back(), HasSubstr("]  61 %"));
}

TEST_F(ConsoleProgressOnTerminal, theLineSaysWhyTheWorkHasFailed)
{
    const ConsoleProgress line(root);
    EXPECT_TRUE(runAside([&] { root->fail(L"the disk is f\u00fcll"); }));
    EXPECT_TRUE(serveUntilShown("failed: the disk is f\xC3\xBCll"));
}

TEST_F(ConsoleProgressOnTerminal, theLineIsErasedAtTheEnd)
{
    {
        const ConsoleProgress line(root);
        EXPECT_TRUE(serveUntilShown("0 %"));
    }
    EXPECT_THAT(terminal.close(), EndsWith(eraseSequence));
}

TEST_F(ConsoleProgressOnTerminal, aDumbTerminalGetsNothing)
{
    ASSERT_EQ(::setenv("TERM", "dumb", 1), 0); // of this process, which runs this test alone
    {
        const ConsoleProgress line(root);
        EXPECT_FALSE(line.isLive());
        serveFor(std::chrono::milliseconds(250));
    }
    EXPECT_EQ(terminal.close(), "");
}

TEST_F(ConsoleProgressOnTerminal, withoutAnyEventNothingIsPrinted)
{
    {
        const ConsoleProgress line(root);
    }
    EXPECT_EQ(terminal.close(), "");
}

TEST_F(ConsoleProgressOnTerminal, theLineFitsTheTerminalWhateverItsWidthIs)
{
    root->setDescription(L"Gl\u00e4tten \u7db2\u683c");
    {
        const ConsoleProgress line(root);
        root->setCompletedUnitCount(50);
        EXPECT_TRUE(serveUntilShown("Gl\xC3\xA4tten \xE7\xB6\xB2\xE6\xA0\xBC [")); // 12 columns
        terminal.setColumns(12);
        serveFor(std::chrono::milliseconds(350));
    }
    const std::vector<std::string> texts = drawings(terminal.close());
    ASSERT_GE(texts.size(), 3U);
    EXPECT_EQ(texts.at(texts.size() - 2), "Gl\xC3\xA4tten \xE7\xB6\xB2"); // a wide character too much
}

TEST_F(ConsoleProgressOnTerminal, itIsDrawnTenTimesASecondAtMost)
{
    const auto start = Clock::now();
    {
        const ConsoleProgress line(root);
        const auto end = start + std::chrono::seconds(1);
        EXPECT_TRUE(serveUntil([&] { return ++*root >= 0 && Clock::now() > end; }));
    }
    const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    const auto count = static_cast<std::int64_t>(drawings(terminal.close()).size());
    EXPECT_GE(count, 2);
    EXPECT_LE(count, taken / 95 + 2); // coarse timers may be early by a twentieth; the last one erases
}

TEST_F(ConsoleProgressOnTerminal, aPauseKeepsTheLineAwayInWhateverThread)
{
    const ConsoleProgress line(root);
    EXPECT_TRUE(serveUntilShown("0 %"));
    std::optional<ConsoleProgress::Pause> pause;
    EXPECT_TRUE(runAside([&] { pause.emplace(); }));
    {
        const ConsoleProgress::Pause inner;
        std::cout << "something else" << std::endl;
    }
    serveFor(std::chrono::milliseconds(350));
    std::cout << "the end" << std::endl;
    EXPECT_TRUE(serveUntilShown("the end"));
    EXPECT_THAT(terminal.text(), EndsWith(eraseSequence + "something else\r\nthe end\r\n"));
    pause.reset();
    EXPECT_TRUE(serveUntilShown("the end\r\n" + eraseSequence + "Smooth"));
}

TEST_F(ConsoleProgressOnTerminal, recordsOfManyThreadsNeverMixWithTheLine)
{
    constexpr int threadCount = 4;
    constexpr int recordCount = 500;
    const CapturedDebugger debugger;
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogMessageFormat(L"%m%n");
    kernel.Initialize();
    std::optional<ConsoleProgress> line(root);
    EXPECT_TRUE(serveUntilShown("0 %"));
    std::atomic<int> round{0}; // a record of each thread for each time that events were served
    std::atomic<int> running{threadCount};
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < recordCount; ++n) {
                while (round < n)
                    std::this_thread::yield();
                kernel.Logger()->Log(Info, L"a record of a worker");
            }
            --running;
        });
    const auto isLogged = [&, next = Clock::now()]() mutable {
        if (Clock::now() < next)
            return false;
        next = Clock::now() + std::chrono::milliseconds(2);
        ++round;
        return ++*root >= 0 && running == 0;
    };
    EXPECT_TRUE(serveUntil(isLogged));
    round = recordCount;
    for (std::thread& thread : threads)
        thread.join();
    line.reset();
    std::vector<std::string> lines = linesShown(terminal.close());
    if (!lines.empty() && lines.back().empty())
        lines.pop_back(); // where the line was
    EXPECT_EQ(lines, std::vector<std::string>(threadCount * recordCount, "a record of a worker"));
    log4cplus::Logger::getRoot().removeAllAppenders();
}

TEST_F(ConsoleProgressOnTerminal, theLineComesBackAfterARecord)
{
    const CapturedDebugger debugger;
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogMessageFormat(L"%m%n");
    kernel.Initialize();
    const ConsoleProgress line(root);
    EXPECT_TRUE(serveUntilShown("0 %"));
    kernel.Logger()->Log(Info, L"a record");
    EXPECT_TRUE(serveUntilShown(eraseSequence + "a record\r\n" + eraseSequence + "Smooth"));
    log4cplus::Logger::getRoot().removeAllAppenders();
}
