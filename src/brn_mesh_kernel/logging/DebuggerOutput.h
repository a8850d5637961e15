#pragma once
/// \file
/// Internal, not installed. Writes to the debugger: its output window on Windows, standard error on Linux.

#include <string>

namespace Brennic::Core {

/// Sends "[KVS_LOG] ", the message and a line feed, in one piece: lines of several threads never mix.
/// Invalid Unicode is replaced by U+FFFD. A line that is not read in time is dropped.
void writeDebuggerLine(const std::wstring& message);

/// Whether a line was dropped because it was not read. Returns true at most once.
bool takeFirstLossOfDebuggerLine();

} // namespace Brennic::Core
