#pragma once
/// \file
/// One way to write per cents of work, so that all displays of a progress show the same number.
///
///     std::cout << Brennic::Core::toPercent(state->getFraction()) << " %\n";
///
/// Threads: any.

#include <algorithm>

namespace Brennic::Core {

/// Returns the whole per cents of \p fraction, from 0 to 100; 0 for what is no number.
///
/// They are rounded down, and only what is complete has 100. A hundredth that a `double` can only come close to counts
/// as reached: 0.29 is 29 %, although 100 * 0.29 is a little less.
/// Thread: any.
inline int toPercent(double fraction)
{
    constexpr double roundingError = 1e-9; // per cents
    if (!(fraction > 0))
        return 0;
    return fraction < 1 ? std::min(99, static_cast<int>(100 * fraction + roundingError)) : 100;
}

/// The same for the fraction that a `ProgressReportingProtocol` receives, which is less exact.
/// Thread: any.
inline int toPercent(float fraction)
{
    constexpr double roundingError = 1e-7;
    return fraction >= 1 ? 100 : std::min(99, toPercent(fraction + roundingError));
}

} // namespace Brennic::Core
