#include "MeshFormat.h"

#include <algorithm>
#include <array>
#include <cctype>

std::string meshExtension(const std::filesystem::path& path)
{
    std::string extension = path.extension().u8string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    return extension;
}

bool isMeshFileName(const std::filesystem::path& path)
{
    constexpr std::array<const char*, 4> extensions = {".obj", ".ply", ".stl", ".off"};
    return std::find(extensions.begin(), extensions.end(), meshExtension(path)) != extensions.end();
}
