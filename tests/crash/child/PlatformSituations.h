#pragma once
/// \file
/// The situations by name; how a process gets into one is the platform's.

#include <filesystem>
#include <functional>
#include <map>
#include <string>

namespace Brennic::Testing {

using Situations = std::map<std::string, std::function<void(const std::filesystem::path& directory)>>;

const Situations& platformSituations();

} // namespace Brennic::Testing
