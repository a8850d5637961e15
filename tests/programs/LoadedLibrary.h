#pragma once
/// \file
/// Opening and closing a library at run time.

#include <string>

namespace Brennic::Testing {

/// Null if it cannot be opened.
void* openLibrary(const char* utf8Path);

/// Returns whether it was closed.
bool closeLibrary(void* library);

/// Null if there is none of the name.
void* findSymbol(void* library, const std::string& name);

/// Has the loader look for something that the C library has; returns whether it was found.
bool useTheLoader();

} // namespace Brennic::Testing
