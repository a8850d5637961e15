#pragma once
/// \file
/// Finds files that are cut short. OpenMesh reads what is there and fills the rest with what it has.

#include <filesystem>
#include <string>

struct FileCheck
{
    std::string defect;          ///< what is wrong, for people; empty if nothing is
    bool isText = true;          ///< false for a binary file
    bool isLastLineOpen = false; ///< true for a text file whose last line is not ended
};

FileCheck checkMeshFile(const std::filesystem::path& path);
