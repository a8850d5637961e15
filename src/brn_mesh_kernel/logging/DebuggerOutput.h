#pragma once
/// \file
/// Internal, not installed. The debugger's channel: the debugger output on Windows, standard error on Linux.

#include <string>

namespace Brennic::Core {

/// Sends "[KVS_LOG] ", the message and a line feed, in one piece: lines of several threads never mix.
/// What is no valid Unicode is replaced by U+FFFD. What nobody reads in time is left out.
void writeDebuggerLine(const std::wstring& message);

/// Whether a line was left out because nobody read it. True at most once.
bool takeFirstLossOfDebuggerLine();

} // namespace Brennic::Core
