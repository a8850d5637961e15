#pragma once
/// \file
/// A thread that nobody joins.

#include <functional>

namespace Brennic::Testing {

/// Runs \p function in a thread of its own, which may never end.
void runDetached(std::function<void()> function);

} // namespace Brennic::Testing
