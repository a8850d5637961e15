#pragma once
/// \file
/// Internal, not installed. System calls that do not touch `errno`.
///
/// The dump helper is a process of its own that shares the memory of the crashing thread, its thread-local
/// variables included; and those may be what is broken. Results are the kernel's: negative means -errno.

#include <cstdint>
#include <type_traits>

#include <sys/syscall.h>

namespace Brennic::Minidump {

template <typename T>
long systemCallWord(T value)
{
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<long>(value);
    else if constexpr (std::is_null_pointer_v<T>)
        return 0;
    else
        return static_cast<long>(value);
}

inline long systemCallWords(long number, long a, long b, long c, long d, long e, long f)
{
    long result = 0;
    register long r10 asm("r10") = d;
    register long r8 asm("r8") = e;
    register long r9 asm("r9") = f;
    asm volatile("syscall"
                 : "=a"(result)
                 : "a"(number), "D"(a), "S"(b), "d"(c), "r"(r10), "r"(r8), "r"(r9)
                 : "rcx", "r11", "memory");
    return result;
}

template <typename... Arguments>
long systemCall(long number, Arguments... arguments)
{
    static_assert(sizeof...(Arguments) <= 6);
    const long words[7] = {systemCallWord(arguments)...};
    return systemCallWords(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}

inline std::int32_t processId()
{
    return static_cast<std::int32_t>(systemCall(SYS_getpid));
}

inline std::int32_t threadId()
{
    return static_cast<std::int32_t>(systemCall(SYS_gettid));
}

} // namespace Brennic::Minidump
