#pragma once
/// \file
/// Vertices and faces of OFF files that are text. Colours, normals and texture coordinates are passed over.

#include <string_view>

#include "RawMesh.h"

/// Throws `MeshFileDefect` if the text is no OFF file, or a line is missing, incomplete or impossible, or a face no
/// triangle.
RawMesh readOff(std::string_view text);
