#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>

#include "crash/support/CrashFixture.h"

using namespace Brennic::Testing;

namespace {

unsigned rounds()
{
    constexpr unsigned few = 3;
    const char* const wanted = std::getenv("BRN_CROWD_ROUNDS");
    return wanted != nullptr ? static_cast<unsigned>(std::atoi(wanted)) : few;
}

// Reads a dump again and again until told to stop. \return how often it was not whole.
class DumpWatcher
{
public:
    explicit DumpWatcher(const std::filesystem::path& path) : m_thread([this, path] { watch(path); }) {}
    ~DumpWatcher() { stop(); }
    DumpWatcher(const DumpWatcher&) = delete;
    DumpWatcher& operator=(const DumpWatcher&) = delete;

    unsigned stop()
    {
        m_isEnough = true;
        if (m_thread.joinable())
            m_thread.join();
        return m_broken;
    }

private:
    void watch(const std::filesystem::path& path)
    {
        while (!m_isEnough) {
            if (std::filesystem::exists(path))
                look(path);
            std::this_thread::yield();
        }
    }

    void look(const std::filesystem::path& path)
    {
        try {
            m_broken += Minidump(path).modules().empty() ? 1U : 0U;
        } catch (const std::runtime_error&) {
            ++m_broken;
        }
    }

    std::atomic<bool> m_isEnough{false};
    std::atomic<unsigned> m_broken{0};
    std::thread m_thread;
};

class Crowd : public CrashFixture
{
protected:
    void crashTogether()
    {
        constexpr int size = 20;
        std::vector<std::unique_ptr<ChildProcess>> children;
        for (int i = 0; i != size; ++i)
            children.push_back(std::make_unique<ChildProcess>(
                BRN_CRASH_CHILD, std::vector<std::string>{m_host.string(), "null-write"},
                m_directory.path()));
        for (const auto& child : children)
            EXPECT_EQ(child->wait().signal, SIGSEGV);
    }
};

} // namespace

TEST_F(Crowd, ofProcessesThatCrashAtOnceAlwaysLeavesAWholeDump)
{
    for (unsigned round = 0; round != rounds() && !HasFailure(); ++round) {
        std::filesystem::remove(dump());
        std::filesystem::remove(report());
        DumpWatcher watcher(dump());
        crashTogether();
        EXPECT_EQ(watcher.stop(), 0U);
        EXPECT_THAT(dumpsIn(m_temporary), ::testing::IsEmpty());
        expectReport();
        expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
    }
}

TEST_F(Crowd, ofProcessesThatLogIntoOneFileLosesNoRecord)
{
    constexpr int size = 50;
    constexpr int records = 20;
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int i = 0; i != size; ++i)
        children.push_back(std::make_unique<ChildProcess>(
            BRN_LOG_CROWD_PROGRAM,
            std::vector<std::string>{m_host.string(), std::to_string(i), std::to_string(records)},
            m_directory.path()));
    for (const auto& child : children)
        EXPECT_EQ(child->wait().exitCode, 0);
    const std::string log = readFile(m_host / "crowd.log");
    EXPECT_EQ(splitLines(log).size(), static_cast<std::size_t>(size * records));
    for (int i = 0; i != size; ++i) {
        for (int record = 0; record != records; ++record)
            EXPECT_THAT(log, ::testing::HasSubstr(" process " + std::to_string(i) + " record " +
                                                  std::to_string(record) + " end\n"));
    }
}
