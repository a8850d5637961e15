#include "crash/support/CrashFixture.h"

#include <vector>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Brennic::Testing;

namespace {

// A debugger that passes on every signal and remembers those of crashes.
class Debugger
{
public:
    Debugger(const std::vector<std::string>& command, const std::filesystem::path& directory)
    {
        m_child = fork();
        if (m_child == 0)
            becomeTracedProgram(command, directory);
    }

    /// \return the signal that the process died of.
    int runToEnd()
    {
        for (;;) {
            int status = 0;
            const pid_t thread = waitpid(-1, &status, __WALL);
            if (thread == m_child && !WIFSTOPPED(status))
                return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
            if (WIFSTOPPED(status))
                goOn(thread, status);
        }
    }

    const std::vector<int>& crashSignals() const { return m_crashSignals; }

private:
    [[noreturn]] static void becomeTracedProgram(std::vector<std::string> command,
                                                 const std::filesystem::path& directory)
    {
        std::vector<char*> arguments;
        for (std::string& argument : command)
            arguments.push_back(argument.data());
        arguments.push_back(nullptr);
        if (chdir(directory.c_str()) == 0 && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0)
            execv(arguments[0], arguments.data());
        std::_Exit(99);
    }

    void goOn(pid_t thread, int status)
    {
        const int signal = WSTOPSIG(status);
        const bool isEvent = status >> 16 != 0;
        if (!m_followsThreads)
            m_followsThreads = ptrace(PTRACE_SETOPTIONS, thread, nullptr, PTRACE_O_TRACECLONE) == 0;
        if (signal == SIGSEGV)
            m_crashSignals.push_back(signal);
        const bool isForProcess = !isEvent && signal != SIGTRAP && signal != SIGSTOP;
        ptrace(PTRACE_CONT, thread, nullptr, isForProcess ? signal : 0);
    }

    pid_t m_child = 0;
    bool m_followsThreads = false;
    std::vector<int> m_crashSignals;
};

class CrashUnderDebugger : public CrashFixture
{
};

} // namespace

TEST_F(CrashUnderDebugger, theDebuggerSeesTheSignalBeforeAndAfterTheDump)
{
    Debugger debugger({BRN_CRASH_CHILD, m_host.string(), "null-write"}, m_directory.path());
    EXPECT_EQ(debugger.runToEnd(), SIGSEGV);
    EXPECT_THAT(debugger.crashSignals(), ::testing::ElementsAre(SIGSEGV, SIGSEGV));
    expectReport();
    expectGoodDump(dump(), SIGSEGV, "crashByNullWrite");
}
