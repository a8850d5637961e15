#pragma once
/// \file
/// Runs a program that is expected to die, and tells how it died and when.

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Brennic::Testing {

struct ProcessEnd
{
    int signal = 0;    ///< that it died of, or 0
    int exitCode = -1; ///< if it exited
    bool hasCore = false;
    std::chrono::milliseconds time{0};
    std::string err; ///< standard error
};

class ChildProcess
{
public:
    /// Starts the program in \p directory, where it also finds its directory for temporary files, "tmp", and where
    /// its standard error goes, "stderr".
    ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                 const std::filesystem::path& directory);
    /// Kills it, should it still run.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t id() const { return m_id; }
    bool isRunning();
    /// Whether it has run for so long that \ref wait would kill it.
    bool isOverdue() const;
    /// Waits for its end, a minute at most; then it is killed, and its end is that.
    ProcessEnd wait();

private:
    bool hasEnded(int options);
    [[noreturn]] static void becomeProgram(std::vector<std::string> command,
                                           const std::filesystem::path& directory);

    std::filesystem::path m_directory;
    std::chrono::steady_clock::time_point m_start;
    pid_t m_id = 0;
    int m_status = 0;
    bool m_hasEnded = false;
};

} // namespace Brennic::Testing
