#pragma once
/// \file
/// The calling thread's name, which debuggers and profilers show, and its place. Not installed.

#include <string>

namespace Brennic::Core {

/// Gives the calling thread a name of at most 15 bytes.
///
/// Not left to `QThread`, which converts its object's name by the locale: Qt 5 sets the C locale of the whole
/// process for that, and hangs or aborts where that meets the start of the application or its end.
void nameCurrentThread(const std::string& name);

/// The number of the core that the calling thread runs on, which may be another in a moment.
int currentCore();

} // namespace Brennic::Core
