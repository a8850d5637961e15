#pragma once
/// \file
/// Which mesh formats there are. The name of a file tells its format.

#include <filesystem>
#include <string>

/// The extension in lower case, with its dot.
std::string meshExtension(const std::filesystem::path& path);

/// Tells whether a file of this name can be read and written: OBJ, PLY, STL or OFF.
bool isMeshFileName(const std::filesystem::path& path);
