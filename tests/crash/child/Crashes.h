#pragma once
/// \file
/// Ways to die. Each is a function of its own that is not inlined, so that a debugger can name it in the dump.

#include <string>

namespace Brennic::Testing {

/// Crashes in the way that \p kind names; for a name that is unknown it returns false.
bool crash(const std::string& kind);

} // namespace Brennic::Testing
