#pragma once
/// \file
/// Internal, not installed. Text that stays on its line.

#include <string>

namespace Brennic::Core {

/// Returns the text with its control characters written as in C: "\\n", "\\x1b", "\\u2028". These are what ends a line, what
/// a terminal takes for a command, and what turns the direction of writing. A tab stays.
std::wstring withVisibleControls(const std::wstring& text);

} // namespace Brennic::Core
