#pragma once
/// \file
/// The clock by which an interval between reports is measured. Not installed.
///
/// A step of a progress asks what time it is, and may take 40 ns in all. So it reads a clock that the system merely
/// advances from time to time (`coarse`, 4 to 16 ms behind at most): 9 ns, where the exact one takes 40.

#include <chrono>

namespace Brennic::Core {

struct ReportClock
{
    /// Returns a time that has passed already.
    static std::chrono::nanoseconds coarse();

    /// Returns a time that is not earlier than now: `coarse` arrives there when it has really passed.
    static std::chrono::nanoseconds exact();
};

} // namespace Brennic::Core
