#include <brn_mesh_common/minidump/MemoryMap_linux.h>

#include <algorithm>
#include <charconv>

#include <brn_mesh_common/minidump/ProcFile_linux.h>
#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <fcntl.h>
#include <sys/uio.h>

namespace Brennic::Minidump {

namespace {

constexpr std::uint64_t redZone = 128; // functions may keep data that far below the stack pointer
constexpr std::uint64_t farthestStack = 0x100000;

// Fields of a line: "start-end perms offset device inode   name".
class LineReader
{
public:
    explicit LineReader(std::string_view line) : m_rest(line) {}

    std::uint64_t hexadecimal()
    {
        std::uint64_t number = 0;
        const auto result = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), number, 16);
        m_rest.remove_prefix(static_cast<std::size_t>(result.ptr - m_rest.data()));
        skip(1);
        return number;
    }

    std::string_view word()
    {
        const std::string_view word = m_rest.substr(0, m_rest.find(' '));
        skip(word.size() + 1);
        return word;
    }

    std::string_view rest()
    {
        skip(std::min(m_rest.find_first_not_of(' '), m_rest.size()));
        return m_rest;
    }

private:
    void skip(std::size_t count) { m_rest.remove_prefix(std::min(count, m_rest.size())); }

    std::string_view m_rest;
};

Mapping parseLine(std::string_view line)
{
    LineReader reader(line);
    Mapping mapping{};
    mapping.start = reader.hexadecimal();
    mapping.end = reader.hexadecimal();
    const std::string_view permissions = reader.word();
    mapping.isReadable = permissions.substr(0, 1) == "r";
    mapping.isWritable = permissions.substr(1, 1) == "w";
    mapping.isExecutable = permissions.substr(2, 1) == "x";
    mapping.isShared = permissions.substr(3, 1) == "s";
    mapping.fileOffset = reader.hexadecimal();
    reader.word(); // device
    reader.word(); // inode
    mapping.name = reader.rest();
    return mapping;
}

// For systems that forbid process_vm_readv altogether.
long readThroughProc(std::uint64_t address, void* buffer, std::size_t size)
{
    const long descriptor = systemCall(SYS_openat, AT_FDCWD, "/proc/self/mem", O_RDONLY | O_CLOEXEC, 0);
    if (descriptor < 0)
        return descriptor;
    const long result = systemCall(SYS_pread64, descriptor, buffer, size, address);
    systemCall(SYS_close, descriptor);
    return result;
}

} // namespace

void MemoryMap::load()
{
    m_mappings.clear();
    // The helper that reads this shares the memory of the process, so its own mappings are those of the
    // process; reading them needs no permission.
    m_textSize = readFile("/proc/self/maps", m_text.data(), m_text.size());
    std::string_view rest = text();
    m_textSize = rest.rfind('\n') + 1; // no half line, should the buffer be too small
    rest = text();
    while (!rest.empty())
        m_mappings.add(parseLine(takeLine(rest)));
}

const Mapping* MemoryMap::firstAbove(std::uint64_t address) const
{
    return std::upper_bound(begin(), end(), address,
                            [](std::uint64_t value, const Mapping& mapping) { return value < mapping.end; });
}

const Mapping* MemoryMap::findReadable(std::uint64_t address) const
{
    const Mapping* const mapping = firstAbove(address);
    const bool isFound = mapping != end() && mapping->start <= address && mapping->isReadable;
    return isFound ? mapping : nullptr;
}

AddressRange findStack(const MemoryMap& map, std::uint64_t stackPointer, std::uint64_t mostBytes)
{
    const Mapping* mapping = map.firstAbove(stackPointer);
    while (mapping != map.end() && !mapping->isReadable)
        ++mapping;
    if (mapping == map.end())
        return {};
    const bool isInside = mapping->start <= stackPointer;
    if (!isInside && mapping->start - stackPointer > farthestStack)
        return {};
    const std::uint64_t lowest = stackPointer > redZone ? (stackPointer - redZone) & ~std::uint64_t{15} : 0;
    const std::uint64_t start = std::max(mapping->start, lowest);
    return {start, std::min(mapping->end, start + mostBytes)};
}

AddressRange findSurroundings(const MemoryMap& map, std::uint64_t address, std::uint64_t radius)
{
    const Mapping* const mapping = map.findReadable(address);
    if (mapping == nullptr)
        return {};
    const bool fitsBelow = address - mapping->start > radius;
    const bool fitsAbove = mapping->end - address > radius;
    return {fitsBelow ? address - radius : mapping->start, fitsAbove ? address + radius : mapping->end};
}

std::size_t readMemory(std::uint64_t address, void* buffer, std::size_t size)
{
    const iovec local{buffer, size};
    iovec remote{};
    remote.iov_base = reinterpret_cast<void*>(address); // NOLINT(performance-no-int-to-ptr)
    remote.iov_len = size;
    // With the caller's own id, which is always allowed. The helper shares the memory of the crashed process, so
    // it reads its own.
    long result = systemCall(SYS_process_vm_readv, processId(), &local, 1, &remote, 1, 0);
    if (result <= 0)
        result = readThroughProc(address, buffer, size);
    return result > 0 ? static_cast<std::size_t>(result) : 0;
}

} // namespace Brennic::Minidump
