#pragma once
/// \file
/// Internal, not installed.

#include <string>

#include <windows.h>

namespace Brennic::Objects::Util {

/// Returns the full path of a loaded module, of the executable for null.
std::wstring modulePath(HMODULE module);

} // namespace Brennic::Objects::Util
