#pragma once
/// \file
/// The place of a virtual function in its class's virtual table, read from a pointer to the member as the
/// Itanium C++ ABI lays it out (GCC and Clang everywhere, MinGW included). Destructors take slots 0 and 1.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Brennic::Testing {

template <typename MemberFunction>
std::size_t virtualSlot(MemberFunction function)
{
    std::uintptr_t words[2];
    static_assert(sizeof(function) == sizeof(words));
    std::memcpy(words, &function, sizeof(words));
    return (words[0] - 1) / sizeof(void*);
}

} // namespace Brennic::Testing
