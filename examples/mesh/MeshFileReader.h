#pragma once
/// \file
/// Reads a mesh file with the reader of its format.

#include <filesystem>

#include "RawMesh.h"

/// Throws `MeshFileDefect` if the file cannot be read or is not what its name says.
RawMesh readMeshFile(const std::filesystem::path& path);
