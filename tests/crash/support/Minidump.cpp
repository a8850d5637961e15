#include "crash/support/Minidump.h"

#include <algorithm>
#include <utility>

#include "support/Files.h"

namespace Brennic::Testing {

namespace {

void require(bool holds, const char* what)
{
    if (!holds)
        throw std::runtime_error(what);
}

} // namespace

Minidump::Minidump(const std::filesystem::path& path) : m_bytes(readFile(path))
{
    readDirectory();
}

Minidump Minidump::fromBytes(std::string bytes)
{
    Minidump dump;
    dump.m_bytes = std::move(bytes);
    dump.readDirectory();
    return dump;
}

void Minidump::readDirectory()
{
    require(bytes(0, 4) == "MDMP", "no minidump");
    const auto count = read<std::uint32_t>(8);
    const auto directory = read<std::uint32_t>(12);
    for (std::uint32_t i = 0; i != count; ++i) {
        const std::size_t entry = directory + std::size_t{12} * i;
        const Location location{read<std::uint32_t>(entry + 4), read<std::uint32_t>(entry + 8)};
        require(location.size != 0, "an empty stream");
        bytes(location.offset, location.size); // is there
        require(m_streams.emplace(read<std::uint32_t>(entry), location).second, "two streams of one type");
    }
}

std::set<std::uint32_t> Minidump::streamTypes() const
{
    std::set<std::uint32_t> types;
    for (const auto& stream : m_streams)
        types.insert(stream.first);
    return types;
}

std::vector<std::uint32_t> Minidump::threadIds() const
{
    std::vector<std::uint32_t> ids;
    for (const std::size_t record : records(3, 48))
        ids.push_back(read<std::uint32_t>(record));
    return ids;
}

std::size_t Minidump::placedThreadCount() const
{
    const std::vector<std::size_t> threads = records(3, 48);
    return static_cast<std::size_t>(std::count_if(threads.begin(), threads.end(), [this](std::size_t record) {
        const auto stackSize = read<std::uint32_t>(record + 32);
        bytes(read<std::uint32_t>(record + 36), stackSize); // is there
        return stackSize != 0;
    }));
}

std::vector<std::string> Minidump::unplacedThreads() const
{
    const std::map<std::uint32_t, std::string> names = threadNames();
    std::vector<std::string> threads;
    for (const std::size_t record : records(3, 48)) {
        if (read<std::uint32_t>(record + 32) != 0)
            continue;
        const auto id = read<std::uint32_t>(record);
        const auto name = names.find(id);
        const std::size_t context = read<std::uint32_t>(record + 44);
        std::ostringstream text;
        text << id << ' ' << (name == names.end() ? "without a name" : name->second) << std::hex << ", rip "
             << read<std::uint64_t>(context + 0xf8) << ", rsp " << read<std::uint64_t>(context + 0x98);
        threads.push_back(text.str());
    }
    return threads;
}

std::map<std::uint32_t, std::string> Minidump::threadNames() const
{
    std::map<std::uint32_t, std::string> names;
    for (const std::size_t record : records(24, 12))
        names[read<std::uint32_t>(record)] = text(read<std::uint64_t>(record + 4));
    return names;
}

std::uint32_t Minidump::crashedThread() const
{
    return read<std::uint32_t>(location(6).offset);
}

std::uint32_t Minidump::exceptionCode() const
{
    return read<std::uint32_t>(location(6).offset + std::size_t{8});
}

std::uint32_t Minidump::exceptionFlags() const
{
    return read<std::uint32_t>(location(6).offset + std::size_t{12});
}

std::uint64_t Minidump::exceptionAddress() const
{
    return read<std::uint64_t>(location(6).offset + std::size_t{24});
}

std::uint64_t Minidump::crashedStackPointer() const
{
    const auto context = read<std::uint32_t>(location(6).offset + std::size_t{164});
    return read<std::uint64_t>(context + std::size_t{152});
}

std::vector<Minidump::Range> Minidump::memory() const
{
    std::vector<Range> ranges;
    for (const std::size_t record : records(5, 16)) {
        const auto size = read<std::uint32_t>(record + 8);
        bytes(read<std::uint32_t>(record + 12), size); // is there
        ranges.push_back({read<std::uint64_t>(record), size});
    }
    return ranges;
}

std::vector<Minidump::Module> Minidump::modules() const
{
    std::vector<Module> modules;
    for (const std::size_t record : records(4, 108)) {
        Module module{read<std::uint64_t>(record),
                      read<std::uint32_t>(record + 8),
                      text(read<std::uint32_t>(record + 20)),
                      {}};
        const auto size = read<std::uint32_t>(record + 76);
        if (size != 0)
            module.buildId = bytes(read<std::uint32_t>(record + 80) + std::size_t{4}, size - 4);
        modules.push_back(module);
    }
    return modules;
}

std::string Minidump::stream(std::uint32_t type) const
{
    const auto found = m_streams.find(type);
    return found == m_streams.end() ? std::string() : bytes(found->second.offset, found->second.size);
}

std::string Minidump::bytes(std::size_t offset, std::size_t size) const
{
    require(offset <= m_bytes.size() && size <= m_bytes.size() - offset, "points past the end");
    return m_bytes.substr(offset, size);
}

// The names that tests use are ASCII or UTF-8 of one kind; what is not ASCII is kept as one byte per unit.
std::string Minidump::text(std::size_t offset) const
{
    const auto size = read<std::uint32_t>(offset);
    std::string result;
    for (std::size_t i = 0; i != size / 2; ++i)
        result += static_cast<char>(read<std::uint16_t>(offset + 4 + 2 * i));
    return result;
}

Minidump::Location Minidump::location(std::uint32_t type) const
{
    const auto found = m_streams.find(type);
    require(found != m_streams.end(), "a stream is missing");
    return found->second;
}

std::vector<std::size_t> Minidump::records(std::uint32_t type, std::size_t size) const
{
    const Location list = location(type);
    const auto count = read<std::uint32_t>(list.offset);
    require(list.size == 4 + count * size, "a list of another length than it says");
    std::vector<std::size_t> offsets;
    for (std::size_t i = 0; i != count; ++i)
        offsets.push_back(list.offset + 4 + i * size);
    return offsets;
}

} // namespace Brennic::Testing
