#pragma once
/// \file
/// Internal, not installed. Random file names, which another user cannot predict and create first.

#include <cstddef>
#include <cstdint>

#include <brn_mesh_common/minidump/Clock_linux.h>
#include <brn_mesh_common/minidump/FixedText.h>
#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <sys/random.h>

namespace Brennic::Minidump {

constexpr std::size_t randomNameLength = 12;

/// Appends letters and digits. Safe in a signal handler.
template <std::size_t Capacity>
void appendRandomName(FixedText<Capacity>& text)
{
    std::uint64_t bits = 0;
    // If the system has no random numbers yet, at least no two threads get the same name.
    if (systemCall(SYS_getrandom, &bits, sizeof bits, GRND_NONBLOCK) != sizeof bits)
        bits = (static_cast<std::uint64_t>(monotonicNow()) ^ (static_cast<std::uint64_t>(threadId()) << 40)) *
               0x9e3779b97f4a7c15;
    constexpr std::string_view characters = "abcdefghijklmnopqrstuvwxyz234567";
    for (std::size_t i = 0; i != randomNameLength; ++i, bits >>= 5)
        text.append(characters[bits % characters.size()]);
}

} // namespace Brennic::Minidump
