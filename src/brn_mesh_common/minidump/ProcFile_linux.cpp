#include <brn_mesh_common/minidump/ProcFile_linux.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>

#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <fcntl.h>

namespace Brennic::Minidump {

namespace {

// What the kernel fills in for getdents64.
struct DirectoryRecord
{
    std::uint64_t inode;
    std::int64_t offset;
    std::uint16_t size;
    std::uint8_t type;
};
constexpr std::size_t recordNameOffset = offsetof(DirectoryRecord, type) + 1;

int openForReading(const char* path, int flags)
{
    return static_cast<int>(systemCall(SYS_openat, AT_FDCWD, path, O_RDONLY | O_CLOEXEC | flags, 0));
}

// The rest of the line behind the mark; empty if there is none.
std::string_view fieldOf(std::string_view text, std::string_view mark)
{
    const std::size_t start = text.find(mark);
    if (start == std::string_view::npos)
        return {};
    text.remove_prefix(start + mark.size());
    return takeLine(text);
}

std::uint64_t hexadecimal(std::string_view text)
{
    std::uint64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number, 16);
    return number;
}

} // namespace

ProcPath procPath(std::int32_t process, std::string_view name)
{
    ProcPath path;
    path.append("/proc/").appendDecimal(static_cast<std::uint64_t>(process)).append('/').append(name);
    return path;
}

ProcPath taskPath(std::int32_t process, std::int32_t thread, std::string_view name)
{
    ProcPath path = procPath(process, "task/");
    path.appendDecimal(static_cast<std::uint64_t>(thread)).append('/').append(name);
    return path;
}

std::size_t readFile(const char* path, char* buffer, std::size_t capacity)
{
    const int descriptor = openForReading(path, 0);
    if (descriptor < 0)
        return 0;
    std::size_t size = 0;
    while (size < capacity) {
        const long result = systemCall(SYS_read, descriptor, buffer + size, capacity - size);
        if (result <= 0 && result != -EINTR)
            break;
        size += result > 0 ? static_cast<std::size_t>(result) : 0;
    }
    systemCall(SYS_close, descriptor);
    return size;
}

std::string_view takeLine(std::string_view& text)
{
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

TaskDirectory::TaskDirectory(std::int32_t process)
    : m_descriptor(openForReading(procPath(process, "task").c_str(), O_DIRECTORY))
{
}

TaskDirectory::~TaskDirectory()
{
    if (m_descriptor >= 0)
        systemCall(SYS_close, m_descriptor);
}

std::int32_t TaskDirectory::next()
{
    while (m_next < m_end || refill()) {
        const char* const entry = m_entries + m_next;
        DirectoryRecord record{};
        std::memcpy(&record, entry, recordNameOffset);
        m_next += record.size;
        const char* const name = entry + recordNameOffset;
        std::int32_t thread = 0;
        std::from_chars(name, name + std::strlen(name), thread); // leaves 0 for "." and ".."
        if (thread != 0)
            return thread;
    }
    return 0;
}

bool TaskDirectory::refill()
{
    const long size = systemCall(SYS_getdents64, m_descriptor, m_entries, sizeof m_entries);
    m_next = 0;
    m_end = size > 0 ? static_cast<std::size_t>(size) : 0;
    return size > 0;
}

ThreadStatus readThreadStatus(std::int32_t process, std::int32_t thread)
{
    std::array<char, 4096> buffer{};
    const std::size_t size =
        readFile(taskPath(process, thread, "status").c_str(), buffer.data(), buffer.size());
    const std::string_view text(buffer.data(), size);
    const std::string_view state = fieldOf(text, "\nState:\t");
    return {state.empty() || state[0] == 'Z' || state[0] == 'X', hexadecimal(fieldOf(text, "\nSigBlk:\t"))};
}

EnvironmentBlock findEnvironment()
{
    std::array<char, 1024> buffer{};
    const std::size_t size = readFile("/proc/self/stat", buffer.data(), buffer.size());
    std::string_view fields(buffer.data(), size);
    fields.remove_prefix(
        std::min(fields.size(), fields.rfind(')') + 1)); // behind the name, which may hold anything
    constexpr int fieldsBefore = 47;                     // counted from behind the name
    for (int i = 0; i != fieldsBefore; ++i)
        fields.remove_prefix(std::min(fields.size(), fields.find(' ', 1)));
    EnvironmentBlock block{};
    const char* const end = fields.data() + fields.size();
    const char* next = fields.data() + 1;
    next = std::from_chars(next, end, block.start).ptr;
    std::from_chars(next + 1, end, block.end);
    return block;
}

WaitingPlace readWaitingPlace(std::int32_t process, std::int32_t thread)
{
    std::array<char, 256> buffer{};
    const std::size_t size =
        readFile(taskPath(process, thread, "syscall").c_str(), buffer.data(), buffer.size());
    std::string_view text(buffer.data(), size);
    const std::string_view line =
        takeLine(text); // "number arguments... stack-pointer instruction", or "running"
    const std::size_t last = line.rfind(" 0x");
    const std::size_t beforeLast = last == std::string_view::npos ? last : line.rfind(" 0x", last - 1);
    if (beforeLast == std::string_view::npos)
        return {};
    constexpr std::size_t prefix = 3;
    return {hexadecimal(line.substr(beforeLast + prefix)), hexadecimal(line.substr(last + prefix))};
}

} // namespace Brennic::Minidump
