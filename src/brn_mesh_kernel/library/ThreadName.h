#pragma once
/// \file
/// Names threads for debuggers and profilers. Not installed.

#include <string>

namespace Brennic::Core {

/// Gives the calling thread a name of at most 15 bytes.
///
/// Not left to `QThread`, which converts its object's name by the locale: Qt 5 sets the C locale of the whole
/// process for that, and hangs or aborts where that meets the start of the application or its end.
void nameCurrentThread(const std::string& name);

} // namespace Brennic::Core
