#pragma once
/// \file
/// What is the matter with the process when it crashes: exhausted, restricted, busy or robbed of its files.

#include <filesystem>
#include <string>

namespace Brennic::Testing {

/// Brings the process into the situation that \p name gives, as "64-threads". False if the name is unknown.
/// \param directory where the dump is to go.
bool enterSituation(const std::string& name, const std::filesystem::path& directory);

} // namespace Brennic::Testing
