#pragma once
/// \file
/// The threads of the process, and its memory, as the system sees them.

#include <cstddef>
#include <string>
#include <vector>

namespace Brennic::Testing {

/// The names of all threads of the process.
std::vector<std::string> threadNames();

std::size_t threadCount();

/// The name of the calling thread.
std::string currentThreadName();

/// The resident set of the process in bytes.
std::size_t residentBytes();

} // namespace Brennic::Testing
