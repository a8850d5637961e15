#pragma once
/// \file
/// Internal, not installed. The text of the line in which a terminal shows a progress.

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace Brennic::Core {

struct RunState
{
    std::string stage;   ///< UTF-8
    double fraction = 0; ///< of the whole run, 0 to 1
    std::chrono::duration<double> elapsed{0};
    std::string end{}; ///< UTF-8: why the run goes on no more; empty while it does
    std::optional<std::chrono::duration<double>> left{}; ///< empty while it cannot be judged
};

/// One line of at most \p width columns, such as
///
///     Smooth     [############--------]  61 %  0:07 elapsed  0:04 left
///
/// The time that is left is shown from half a second to a hundred hours. What does not fit is left out: first the bar,
/// then the times, then the percentage. A run that goes on no more has its end in place of the time that is left, cut to
/// what the others leave.
std::string progressLine(const RunState& state, std::size_t width);

} // namespace Brennic::Core
