#pragma once
/// \file
/// Internal, not installed. Time limits that end a step which makes no progress, and not one that is slow.
///
/// On a busy machine a step may get little processor time, and take long. So its limit counts from the moment at
/// which it was last seen to have used some: writing a file and reading memory both do. An endless loop uses
/// processor time too; a second limit, on the total time, ends it.

#include <cstdint>
#include <ctime>

#include <brn_mesh_common/minidump/Clock_linux.h>

namespace Brennic::Minidump {

/// In milliseconds.
struct TimeLimit
{
    std::int64_t standingStill;
    std::int64_t atMost;
};

/// The clock of the processor time that a thread, or all of a process, has used; as the kernel numbers them.
inline clockid_t processorClockOfThread(std::int32_t thread)
{
    return static_cast<clockid_t>(~static_cast<std::uint32_t>(thread) << 3 | 6U);
}
inline clockid_t processorClockOfProcess(std::int32_t process)
{
    return static_cast<clockid_t>(~static_cast<std::uint32_t>(process) << 3 | 2U);
}

class StandstillWatch
{
public:
    StandstillWatch() = default; // lies zeroed in static storage

    /// \param clock the processor time of what is watched.
    /// \param leastUse how many nanoseconds of it count as progress.
    StandstillWatch(clockid_t clock, const TimeLimit& limit, std::int64_t leastUse)
        : m_clock(clock),
          m_limit(limit),
          m_leastUse(leastUse),
          m_start(monotonicNow()),
          m_lastSeen(m_start),
          m_usedThen(used())
    {
    }

    /// Looks at the clock. \return whether the time is up.
    bool isOver()
    {
        const std::int64_t now = monotonicNow();
        const std::int64_t usedNow = used();
        if (usedNow - m_usedThen >= m_leastUse) {
            m_usedThen = usedNow;
            m_lastSeen = now;
        }
        return now - m_lastSeen >= m_limit.standingStill * 1'000'000 ||
               now - m_start >= m_limit.atMost * 1'000'000;
    }

    std::int64_t standingStill() const { return m_limit.standingStill; }

private:
    std::int64_t used() const
    {
        timespec time{};
        systemCall(SYS_clock_gettime, m_clock, &time);
        return time.tv_sec * nanosecondsPerSecond + time.tv_nsec;
    }

    clockid_t m_clock = 0;
    TimeLimit m_limit{};
    std::int64_t m_leastUse = 0;
    std::int64_t m_start = 0;
    std::int64_t m_lastSeen = 0;
    std::int64_t m_usedThen = 0;
};

/// Blocks until \p word has another value than \p value. \return whether it has, before the watch says that time
/// is up.
inline bool waitWhileEqual(const std::atomic<std::uint32_t>& word, std::uint32_t value,
                           StandstillWatch& watch)
{
    constexpr std::int64_t timeBetweenLooks = 20; // milliseconds
    while (!waitWhileEqual(word, value, Deadline(timeBetweenLooks))) {
        if (watch.isOver())
            return word.load() != value;
    }
    return true;
}

} // namespace Brennic::Minidump
