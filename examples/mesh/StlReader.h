#pragma once
/// \file
/// Triangles of STL files, text and binary. Equal positions become one vertex, as the format repeats them.

#include <string_view>

#include "RawMesh.h"

/// Throws `MeshFileDefect` if the file is cut short, or a line is incomplete or impossible, or a face no triangle.
RawMesh readStl(std::string_view bytes);
