#pragma once
/// \file
/// Where in the process it crashes: on which thread, at which time of its life.

#include <functional>
#include <string>

namespace Brennic::Testing {

/// Calls \p function in the place called \p name, and does not return if that crashes. False if the name is
/// unknown.
bool runIn(const std::string& name, const std::function<void()>& function);

} // namespace Brennic::Testing
