#pragma once
/// \file
/// Internal, not installed. What the library writes to the standard output, between what the host writes there.

#include <string>

namespace Brennic::Core {

/// Writes the text behind what the host has written to `std::cout` and `stdout`, in one piece.
///
/// Into a pipe, a socket or a terminal it goes at once, and is left out where nobody reads in time. Into a file it goes
/// through `std::cout`, which keeps it until it is flushed. Thread: any.
void writeToStandardOutput(const std::string& text);

/// The same, and a file or a console gets it at once too.
void drawOnStandardOutput(const std::string& text);

/// Whether something was left out because nobody read it. True at most once. Thread: any.
bool takeFirstLossOfStandardOutput();

} // namespace Brennic::Core
