#pragma once
/// \file
/// Crashes on purpose, to show what a crash leaves behind.

#include <string>
#include <vector>

/// The names of the ways to crash.
std::vector<std::string> crashKinds();

/// Crashes. Does not return, unless there is no such kind.
void crashOnPurpose(const std::string& kind);
