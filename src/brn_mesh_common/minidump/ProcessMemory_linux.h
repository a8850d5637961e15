#pragma once
/// \file
/// Internal, not installed. Reads memory of the process that may be unreadable or vanish.

#include <cstddef>
#include <cstdint>

namespace Brennic::Minidump {

/// Copies up to \p size bytes from \p address. \return how many could be read, from the start on.
std::size_t readMemory(std::uint64_t address, void* buffer, std::size_t size);

/// \return whether all of it could be read.
template <typename T>
bool readMemory(std::uint64_t address, T& record)
{
    return readMemory(address, &record, sizeof record) == sizeof record;
}

} // namespace Brennic::Minidump
