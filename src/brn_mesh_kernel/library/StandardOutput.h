#pragma once
/// \file
/// Internal, not installed. Writes to the standard output, in order with what the host writes there.

#include <string>

namespace Brennic::Core {

/// Writes the text in one piece, after what the host has written to `std::cout` and `stdout`.
///
/// A pipe, a socket or a terminal receives it at once; it is dropped if it is not read in time. A file receives
/// it through the buffer of `std::cout`. Thread: any.
void writeToStandardOutput(const std::string& text);

/// The same, but flushes files and consoles as well.
void drawOnStandardOutput(const std::string& text);

/// Whether text was dropped because it was not read. Returns true at most once. Thread: any.
bool takeFirstLossOfStandardOutput();

} // namespace Brennic::Core
