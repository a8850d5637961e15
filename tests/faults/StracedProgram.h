#pragma once
/// \file
/// Runs a program under strace, which tells what it asks of the system and fails one call of it.

#include <filesystem>
#include <string>
#include <vector>

namespace Brennic::Testing {

/// What goes wrong: the call of this name that a thread makes for the n-th time.
struct InjectedFault
{
    std::string call;
    unsigned time = 1;  ///< counted from 1, in each thread
    std::string effect; ///< as strace has it: "error=ENOSPC", "retval=0"
};

/// A call that names a file of the directory that is watched, or a descriptor of one.
struct SeenCall
{
    std::string name;
    unsigned time = 1; ///< which of its thread's calls of this name
    std::string text;  ///< as strace tells it
    bool isInjected = false;
};

struct StracedEnd
{
    bool isOver = false; ///< false if it took too long, and was ended
    int signal = 0;
    int exitCode = -1;
    std::string err; ///< standard error
    std::vector<SeenCall> calls;
    unsigned injections = 0; ///< in every thread, at whatever call of this name

    /// Whether the fault has come to one of the calls above, and to no other.
    bool isHit() const;
};

class StracedProgram
{
public:
    /// \param watched the directory whose files count; \param scratch another one, for what strace tells.
    StracedProgram(std::vector<std::string> command, std::filesystem::path watched,
                   std::filesystem::path scratch);

    /// Why nothing can be run under strace here, or nothing.
    std::string hindrance() const;

    StracedEnd run() const;
    StracedEnd run(const InjectedFault& fault) const;

private:
    StracedEnd runStrace(const std::vector<std::string>& options) const;
    void read(const std::string& trace, StracedEnd& end) const;

    std::vector<std::string> m_command;
    std::filesystem::path m_watched;
    std::filesystem::path m_scratch;
};

} // namespace Brennic::Testing
