#pragma once
/// \file
/// Internal, not installed. Signal masks as the kernel keeps them: 64 bits, without the C library's
/// exceptions. And the search for a signal that is free.

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include <brn_mesh_common/minidump/Syscall_linux.h>

namespace Brennic::Minidump {

class SignalMask
{
public:
    static constexpr std::size_t size = 8;

    static SignalMask all() { return SignalMask(~std::uint64_t{0}); }
    /// All but the real-time signals.
    static SignalMask standard() { return SignalMask((std::uint64_t{1} << 31) - 1); }
    static SignalMask of(std::initializer_list<int> signals)
    {
        SignalMask mask(0);
        for (const int signal : signals)
            mask.m_bits |= bit(signal);
        return mask;
    }
    /// The C library's record is longer than what the kernel knows of it.
    static SignalMask from(const sigset_t& set)
    {
        SignalMask mask(0);
        std::memcpy(&mask.m_bits, &set, size);
        return mask;
    }

    /// Applies the mask to this thread as `sigprocmask` does. \return the mask before.
    SignalMask apply(int how) const
    {
        SignalMask before(0);
        systemCall(SYS_rt_sigprocmask, how, &m_bits, &before.m_bits, size);
        return before;
    }

    SignalMask without(const SignalMask& other) const { return SignalMask(m_bits & ~other.m_bits); }
    bool intersects(std::uint64_t bits) const { return (m_bits & bits) != 0; }
    const std::uint64_t* words() const { return &m_bits; }

private:
    explicit SignalMask(std::uint64_t bits) : m_bits(bits) {}
    static std::uint64_t bit(int signal) { return std::uint64_t{1} << (signal - 1); }

    std::uint64_t m_bits;
};

enum class SignalSearch
{
    FromLowest,
    FromHighest
};

/// A real-time signal that has no handler and so is not the host's; 0 if there is none. Two users that search from
/// different ends do not meet.
inline int findFreeSignal(SignalSearch search)
{
    const bool rises = search == SignalSearch::FromLowest;
    const int lowest = SIGRTMIN;
    const int highest = SIGRTMAX;
    for (int i = 0; i <= highest - lowest; ++i) {
        const int signal = rises ? lowest + i : highest - i;
        struct sigaction action
        {
        };
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL)
            return signal;
    }
    return 0;
}

} // namespace Brennic::Minidump
