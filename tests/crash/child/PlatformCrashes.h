#pragma once
/// \file
/// The ways to die that belong to the platform, by name.

#include <functional>
#include <map>
#include <string>

/// A crash is looked for by its function's name.
#define BRN_NOT_INLINED __attribute__((noinline))

namespace Brennic::Testing {

using Crashes = std::map<std::string, std::function<void()>>;

const Crashes& platformCrashes();

} // namespace Brennic::Testing
