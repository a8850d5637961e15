#pragma once
/// \file
/// What the host does when it is told of the crash.

#include <filesystem>
#include <functional>
#include <string>

namespace Brennic::Testing {

/// The handler called \p name; null if the name is unknown. Each first writes the path that it is given, as UTF-8,
/// into the file "handler" in \p directory, without allocation.
std::function<bool(const wchar_t*)> crashHandler(const std::string& name,
                                                 const std::filesystem::path& directory);

} // namespace Brennic::Testing
