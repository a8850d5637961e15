#pragma once
/// \file
/// Internal, not installed. Waiting with next to no stack, for a thread that has overflowed its own.
///
/// The system keeps the reserve that a thread has asked for; Wine leaves it one page, of which its `WaitForSingleObject`
/// alone takes a fifth.

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

} // namespace Brennic::Minidump
