#pragma once
/// \file
/// Internal, not installed. The memory of the process: what is mapped, which part a thread uses, and what is in it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <brn_mesh_common/minidump/FixedList.h>

namespace Brennic::Minidump {

struct Mapping
{
    std::uint64_t start;
    std::uint64_t end;
    std::uint64_t fileOffset;
    bool isReadable;
    bool isWritable;
    bool isExecutable;
    bool isShared;
    std::string_view name; ///< path or "[stack]" and the like; empty for anonymous memory

    std::uint64_t size() const { return end - start; }
};

/// The mappings of the process, read once from `/proc/self/maps`.
///
/// Lies zeroed in static storage: room for the 65,530 mappings that the system allows by default, of which
/// only the pages that are needed are ever touched.
class MemoryMap
{
public:
    void load();

    const Mapping* begin() const { return m_mappings.begin(); }
    const Mapping* end() const { return m_mappings.end(); }
    std::size_t size() const { return m_mappings.size(); }
    /// As the system wrote it.
    std::string_view text() const { return {m_text.data(), m_textSize}; }

    /// The first mapping that ends above \p address, or \ref end.
    const Mapping* firstAbove(std::uint64_t address) const;
    /// The readable mapping that holds \p address, or null.
    const Mapping* findReadable(std::uint64_t address) const;

private:
    FixedList<Mapping, 0x10000> m_mappings;
    std::size_t m_textSize = 0;
    std::array<char, 0x600000> m_text{};
};

struct AddressRange
{
    std::uint64_t start;
    std::uint64_t end;
};

/// The used part of the stack, from the stack pointer up, \p mostBytes at most. Empty if there is none.
///
/// The stack pointer of a thread that has overflowed its stack lies in the guard page or below: the stack is
/// then the next readable memory above.
AddressRange findStack(const MemoryMap& map, std::uint64_t stackPointer, std::uint64_t mostBytes);

/// \p radius bytes before and behind \p address, as far as they are mapped and readable. Empty if it is not.
AddressRange findSurroundings(const MemoryMap& map, std::uint64_t address, std::uint64_t radius);

/// Copies up to \p size bytes from \p address. \return how many could be read, from the start on.
std::size_t readMemory(std::uint64_t address, void* buffer, std::size_t size);

/// \return whether all of it could be read.
template <typename T>
bool readMemory(std::uint64_t address, T& record)
{
    return readMemory(address, &record, sizeof record) == sizeof record;
}

} // namespace Brennic::Minidump
