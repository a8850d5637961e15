#pragma once
/// \file
/// Internal, not installed. The debugger's channel: the debugger output on Windows, standard error on Linux.

#include <string>

namespace Brennic::Core {

/// Sends "[KVS_LOG] ", the message and a line feed, in one piece: lines of several threads never mix.
/// What is no valid Unicode is replaced by U+FFFD.
void writeDebuggerLine(const std::wstring& message);

} // namespace Brennic::Core
