#pragma once
/// \file
/// Triangle meshes in files: OBJ, PLY, STL and OFF, told apart by their extension.

#include <filesystem>
#include <functional>
#include <string>

#include "Mesh.h"

/// Reads positions and triangles.
/// If triangles had to be left out, or given vertices of their own, for the mesh to hold them, `warning` becomes one
/// sentence about that, and is empty otherwise.
/// Throws `std::runtime_error` with one sentence if the file is missing, empty, cut short, damaged, or holds
/// anything but triangles.
Mesh loadMesh(const std::filesystem::path& path, std::string* warning = nullptr);

/// Writes the mesh, complete or not at all: beside the file first, then renamed over it.
/// Throws `std::runtime_error` with one sentence if that fails; a file of that name is then left as it was.
/// \param beforeStep is called before each step, the last of which puts the file in its place. What it throws leaves the
/// file as it was too.
void saveMesh(
    const Mesh& mesh, const std::filesystem::path& path, const std::function<void()>& beforeStep = [] {});
