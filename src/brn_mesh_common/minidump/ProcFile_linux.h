#pragma once
/// \file
/// Internal, not installed. Reads files and folders of `/proc` without allocation.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include <brn_mesh_common/minidump/FixedText.h>

namespace Brennic::Minidump {

using ProcPath = FixedText<64>;

/// "/proc/<process>/<name>".
ProcPath procPath(std::int32_t process, std::string_view name);
/// "/proc/<process>/task/<thread>/<name>".
ProcPath taskPath(std::int32_t process, std::int32_t thread, std::string_view name);

/// Reads the file from its start, until the buffer is full.
/// \return the number of bytes; 0 also if the file cannot be read.
std::size_t readFile(const char* path, char* buffer, std::size_t capacity);

/// Takes the first line off \p text. \return the line, without its end.
std::string_view takeLine(std::string_view& text);

/// The threads of a process, as `/proc` lists them.
class TaskDirectory
{
public:
    explicit TaskDirectory(std::int32_t process);
    ~TaskDirectory();
    TaskDirectory(const TaskDirectory&) = delete;
    TaskDirectory& operator=(const TaskDirectory&) = delete;

    /// \return the next thread's id, or 0 at the end.
    std::int32_t next();

private:
    bool refill();

    int m_descriptor;
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    alignas(8) char m_entries[4096];
};

struct ThreadStatus
{
    bool hasEnded; ///< but is still listed: the main thread is, until all others have ended
    std::uint64_t blockedSignals;
};

ThreadStatus readThreadStatus(std::int32_t process, std::int32_t thread);

struct EnvironmentBlock
{
    std::uint64_t start;
    std::uint64_t end;
};

/// Where the environment variables lie that the process was started with: at the end of the main thread's stack.
EnvironmentBlock findEnvironment();

/// Where a thread waits in the system.
struct WaitingPlace
{
    std::uint64_t stackPointer; ///< 0: it does not wait, or the system does not show it
    std::uint64_t instruction;
};

WaitingPlace readWaitingPlace(std::int32_t process, std::int32_t thread);

} // namespace Brennic::Minidump
