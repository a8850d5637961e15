#include <brn_mesh_common/minidump/MemoryList_linux.h>

#include <algorithm>

#include <brn_mesh_common/minidump/MemoryMap_linux.h>

namespace Brennic::Minidump {

void MemoryList::add(std::uint64_t start, std::uint64_t end)
{
    if (start < end)
        m_ranges.add({start, end, 0});
}

void MemoryList::exclude(std::uint64_t start, std::uint64_t end)
{
    for (std::size_t i = 0, count = m_ranges.size(); i != count; ++i) {
        Range& range = m_ranges[i];
        if (range.end <= start || range.start >= end)
            continue;
        add(end, range.end);
        range.end = std::max(range.start, start);
    }
}

void MemoryList::unite()
{
    std::sort(m_ranges.begin(), m_ranges.end(),
              [](const Range& a, const Range& b) { return a.start < b.start; });
    std::size_t count = 0;
    for (const Range& range : m_ranges) {
        if (count != 0 && range.start <= m_ranges[count - 1].end)
            m_ranges[count - 1].end = std::max(m_ranges[count - 1].end, range.end);
        else
            m_ranges[count++] = range;
    }
    m_ranges.truncate(count);
}

void MemoryList::writeMemory(DumpFile& file)
{
    for (Range& range : m_ranges)
        writeRange(file, range);
    Range* const end = std::remove_if(m_ranges.begin(), m_ranges.end(),
                                      [](const Range& range) { return range.start == range.end; });
    m_ranges.truncate(static_cast<std::size_t>(end - m_ranges.begin()));
}

void MemoryList::writeRange(DumpFile& file, Range& range)
{
    alignas(16) std::array<std::byte, 0x4000> chunk;
    file.align();
    range.rva = file.position();
    for (std::uint64_t address = range.start; address < range.end;) {
        const std::size_t wanted = std::min<std::uint64_t>(range.end - address, chunk.size());
        const std::size_t size = readMemory(address, chunk.data(), wanted);
        file.write(chunk.data(), size);
        address += size;
        if (size < wanted)
            range.end = address;
    }
}

Location MemoryList::writeList(DumpFile& file) const
{
    const auto count = static_cast<std::uint32_t>(m_ranges.size());
    Location list = file.write(count);
    for (const Range& range : m_ranges) {
        const auto size = static_cast<std::uint32_t>(range.end - range.start);
        list.size += file.write(MemoryDescriptor{range.start, {size, range.rva}}).size;
    }
    return list;
}

MemoryDescriptor MemoryList::find(std::uint64_t start, std::uint64_t end) const
{
    const Range* const range =
        std::upper_bound(m_ranges.begin(), m_ranges.end(), start,
                         [](std::uint64_t value, const Range& item) { return value < item.end; });
    if (range == m_ranges.end() || range->start > start || start >= end)
        return {};
    const auto size = static_cast<std::uint32_t>(std::min(end, range->end) - start);
    return {start, {size, range->rva + static_cast<std::uint32_t>(start - range->start)}};
}

} // namespace Brennic::Minidump
