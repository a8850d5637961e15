#include <brn_mesh_common/minidump/StackFinder_linux.h>

#include <algorithm>

namespace Brennic::Minidump {

namespace {

constexpr std::uint64_t redZone = 128; // functions may keep data that far below the stack pointer
constexpr std::uint64_t farthestStack = 0x100000;

} // namespace

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

} // namespace Brennic::Minidump
