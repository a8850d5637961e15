#pragma once
/// \file
/// Internal, not installed. Which memory belongs to a thread: its stack, and what its registers point to.

#include <cstdint>

#include <brn_mesh_common/minidump/Format.h>
#include <brn_mesh_common/minidump/MemoryMap_linux.h>

namespace Brennic::Minidump {

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

} // namespace Brennic::Minidump
