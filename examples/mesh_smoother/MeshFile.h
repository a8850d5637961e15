#pragma once
/// \file
/// Triangle meshes in files: OBJ, PLY, STL and OFF, told apart by their extension.

#include <filesystem>

#include "Mesh.h"

/// Reads positions and triangles.
/// Throws `std::runtime_error` with one sentence if the file is missing, empty, cut short, damaged, or holds
/// anything but triangles.
Mesh loadMesh(const std::filesystem::path& path);

/// Writes the mesh, complete or not at all: beside the file first, then renamed over it.
/// Throws `std::runtime_error` with one sentence if that fails; a file of that name is then left as it was.
void saveMesh(const Mesh& mesh, const std::filesystem::path& path);
