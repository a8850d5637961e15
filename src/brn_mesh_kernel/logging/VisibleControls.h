#pragma once
/// \file
/// Internal, not installed. Makes control characters visible, so that a message cannot leave its line.

#include <string>

namespace Brennic::Core {

/// Returns the text with its control characters written as in C: "\\n", "\\x1b", "\\u2028". These are the
/// characters that end a line, that a terminal obeys, or that change the direction of text. Tabs are kept.
std::wstring withVisibleControls(const std::wstring& text);

} // namespace Brennic::Core
