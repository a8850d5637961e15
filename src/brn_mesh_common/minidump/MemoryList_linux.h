#pragma once
/// \file
/// Internal, not installed. The parts of memory that go into the dump. Lies zeroed in static storage.

#include <cstddef>
#include <cstdint>

#include <brn_mesh_common/minidump/DumpFile_linux.h>
#include <brn_mesh_common/minidump/FixedList.h>
#include <brn_mesh_common/minidump/Format.h>

namespace Brennic::Minidump {

class MemoryList
{
public:
    void clear() { m_ranges.clear(); }
    void add(std::uint64_t start, std::uint64_t end);

    /// Leaves [start, end) out of what has been added so far.
    void exclude(std::uint64_t start, std::uint64_t end);

    /// Sorts the ranges and unites those that overlap or touch: readers refuse a list with overlaps.
    void unite();
    /// Writes the memory itself. A range that cannot be read to its end ends where it can.
    void writeMemory(DumpFile& file);
    /// Writes the list. \return where it lies.
    Location writeList(DumpFile& file) const;

    /// The part of [start, end) that has been written, as the thread list wants it.
    MemoryDescriptor find(std::uint64_t start, std::uint64_t end) const;

private:
    struct Range
    {
        std::uint64_t start;
        std::uint64_t end;
        std::uint32_t rva;
    };

    static void writeRange(DumpFile& file, Range& range);

    FixedList<Range, 8192> m_ranges;
};

} // namespace Brennic::Minidump
