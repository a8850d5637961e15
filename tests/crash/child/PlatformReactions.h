#pragma once
/// \file
/// What of a handler belongs to the platform.

#include <filesystem>
#include <functional>
#include <map>
#include <string>

namespace Brennic::Testing {

using React = std::function<bool(const std::filesystem::path& directory)>;
using Reactions = std::map<std::string, React>;

const Reactions& platformReactions();

/// Writes a file of one text, without allocation.
void writeDown(const std::filesystem::path& file, const char* text);

} // namespace Brennic::Testing
