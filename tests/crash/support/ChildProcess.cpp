#include "crash/support/ChildProcess.h"

#include <cstdlib>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/Files.h"

namespace Brennic::Testing {

namespace {

constexpr std::chrono::seconds longestRun{60};

} // namespace

ChildProcess::ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                           const std::filesystem::path& directory)
    : m_directory(directory), m_start(std::chrono::steady_clock::now())
{
    std::filesystem::create_directories(directory / "tmp");
    std::vector<std::string> command{program.string()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    m_id = fork();
    if (m_id == 0)
        becomeProgram(command, directory);
}

ChildProcess::~ChildProcess()
{
    if (m_hasEnded)
        return;
    kill(m_id, SIGKILL);
    hasEnded(0);
}

void ChildProcess::becomeProgram(std::vector<std::string> command, const std::filesystem::path& directory)
{
    const int err = open((directory / "stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    const int out = open("/dev/null", O_WRONLY);
    std::vector<char*> arguments;
    for (std::string& argument : command)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    const bool isPrepared = dup2(err, STDERR_FILENO) >= 0 && dup2(out, STDOUT_FILENO) >= 0 &&
                            chdir(directory.c_str()) == 0 &&
                            setenv("TMPDIR", (directory / "tmp").c_str(), 1) == 0;
    if (isPrepared)
        execv(arguments[0], arguments.data());
    std::_Exit(99);
}

bool ChildProcess::isRunning()
{
    return !hasEnded(WNOHANG);
}

bool ChildProcess::isOverdue() const
{
    return std::chrono::steady_clock::now() - m_start > longestRun;
}

bool ChildProcess::hasEnded(int options)
{
    m_hasEnded = m_hasEnded || waitpid(m_id, &m_status, options) == m_id;
    return m_hasEnded;
}

ProcessEnd ChildProcess::wait()
{
    while (!hasEnded(WNOHANG)) {
        if (isOverdue()) {
            kill(m_id, SIGKILL);
            hasEnded(0);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ProcessEnd end;
    end.time =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_start);
    end.signal = WIFSIGNALED(m_status) ? WTERMSIG(m_status) : 0;
    end.exitCode = WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1;
    end.hasCore = WIFSIGNALED(m_status) && WCOREDUMP(m_status);
    end.err = readFile(m_directory / "stderr");
    return end;
}

} // namespace Brennic::Testing
