#pragma once
/// \file
/// Internal, not installed. Time limits, waits and wake-ups by system call alone.

#include <atomic>
#include <climits>
#include <cstdint>
#include <ctime>

#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <linux/futex.h>

namespace Brennic::Minidump {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

inline timespec toTimespec(std::int64_t nanoseconds)
{
    timespec time{};
    time.tv_sec = nanoseconds / nanosecondsPerSecond;
    time.tv_nsec = nanoseconds % nanosecondsPerSecond;
    return time;
}

/// Nanoseconds of `CLOCK_MONOTONIC`.
inline std::int64_t monotonicNow()
{
    timespec now{};
    systemCall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
    return now.tv_sec * nanosecondsPerSecond + now.tv_nsec;
}

/// A point in time at which a wait ends.
class Deadline
{
public:
    explicit Deadline(std::int64_t milliseconds) : m_end(monotonicNow() + milliseconds * 1'000'000) {}

    /// 0 once passed.
    std::int64_t nanosecondsLeft() const
    {
        const std::int64_t left = m_end - monotonicNow();
        return left > 0 ? left : 0;
    }
    bool hasPassed() const { return nanosecondsLeft() == 0; }

private:
    std::int64_t m_end;
};

inline void sleepMicroseconds(std::int64_t microseconds)
{
    const timespec time = toTimespec(microseconds * 1000);
    systemCall(SYS_nanosleep, &time, nullptr);
}

/// Blocks until \p word differs from \p value. The kernel's own wake-up at the end of a process ends the wait too.
/// \return whether it differs; false after \p deadline.
inline bool waitWhileEqual(const std::atomic<std::uint32_t>& word, std::uint32_t value,
                           const Deadline& deadline)
{
    while (word.load() == value) {
        const std::int64_t left = deadline.nanosecondsLeft();
        if (left == 0)
            return false;
        const timespec timeout = toTimespec(left);
        // Not FUTEX_PRIVATE: the other side may be another process that shares this memory.
        systemCall(SYS_futex, &word, FUTEX_WAIT, value, &timeout, nullptr, 0);
    }
    return true;
}

/// Wakes all threads that wait for \p word.
inline void wakeAll(const std::atomic<std::uint32_t>& word)
{
    systemCall(SYS_futex, &word, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

} // namespace Brennic::Minidump
