#pragma once
/// \file
/// Internal, not installed. Waiting with hardly any stack, for a thread that has overflowed its own.
///
/// After an overflow, Windows gives the thread the reserve that it has asked for. Wine gives it one page, and its
/// `WaitForSingleObject` alone uses a fifth of that.

#include <windows.h>

#include <winternl.h>

namespace Brennic::Minidump {

/// Waits until the object is signalled. \param milliseconds how long; `INFINITE` for ever. \return whether it was.
inline bool waitWithLittleStack(HANDLE object, DWORD milliseconds)
{
    constexpr LONGLONG unitsPerMillisecond = 10'000;
    LARGE_INTEGER time;
    time.QuadPart = -unitsPerMillisecond * milliseconds; // negative: from now on
    return NtWaitForSingleObject(object, FALSE, milliseconds == INFINITE ? nullptr : &time) == WAIT_OBJECT_0;
}

/// A time limit that ends a step which makes no progress, and not one that is slow on a busy machine. The limit
/// counts from the moment at which the thread was last seen to have used processor time, or its file to have
/// grown. A second limit, on the total time, ends endless loops.
class StandstillWatch
{
public:
    /// In milliseconds.
    StandstillWatch(HANDLE thread, DWORD standingStill, DWORD atMost)
        : m_thread(thread),
          m_standingStill(standingStill),
          m_atMost(atMost),
          m_start(GetTickCount64()),
          m_lastSeen(m_start),
          m_usedThen(used())
    {
    }

    /// \param fileSize of what the thread writes. \return whether the time is up.
    bool isOver(LONGLONG fileSize)
    {
        const ULONGLONG now = GetTickCount64();
        const LONGLONG usedNow = used();
        if (usedNow != m_usedThen || fileSize != m_sizeThen)
            m_lastSeen = now;
        m_usedThen = usedNow;
        m_sizeThen = fileSize;
        return now - m_lastSeen >= m_standingStill || now - m_start >= m_atMost;
    }

private:
    LONGLONG used() const
    {
        struct
        {
            LARGE_INTEGER creation;
            LARGE_INTEGER exit;
            LARGE_INTEGER kernel;
            LARGE_INTEGER user;
        } times{};
        constexpr auto threadTimes = static_cast<THREADINFOCLASS>(1);
        NtQueryInformationThread(m_thread, threadTimes, &times, sizeof times, nullptr);
        return times.kernel.QuadPart + times.user.QuadPart;
    }

    HANDLE m_thread;
    DWORD m_standingStill;
    DWORD m_atMost;
    ULONGLONG m_start;
    ULONGLONG m_lastSeen;
    LONGLONG m_usedThen;
    LONGLONG m_sizeThen = -1;
};

/// Milliseconds between two looks at the thread.
constexpr DWORD timeBetweenLooks = 100;

} // namespace Brennic::Minidump
