#pragma once
/// \file
/// Numbers in the bytes of binary mesh files, whatever the byte order of the file and of the machine.

#include <cstdint>
#include <cstring>
#include <string_view>

/// The first `size` bytes as an unsigned number; there must be as many, and no more than 8.
inline std::uint64_t binaryUint(std::string_view bytes, std::size_t size, bool isBigEndian = false)
{
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < size; ++i)
        number = number << 8U | static_cast<unsigned char>(bytes[isBigEndian ? i : size - 1 - i]);
    return number;
}

inline std::uint32_t binaryUint32(std::string_view bytes)
{
    return static_cast<std::uint32_t>(binaryUint(bytes, 4));
}

inline float binaryFloat(std::string_view bytes, bool isBigEndian = false)
{
    const auto bits = static_cast<std::uint32_t>(binaryUint(bytes, 4, isBigEndian));
    float number = 0;
    std::memcpy(&number, &bits, sizeof(number));
    return number;
}

inline double binaryDouble(std::string_view bytes, bool isBigEndian = false)
{
    const std::uint64_t bits = binaryUint(bytes, 8, isBigEndian);
    double number = 0;
    std::memcpy(&number, &bits, sizeof(number));
    return number;
}
