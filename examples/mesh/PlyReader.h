#pragma once
/// \file
/// Vertices and faces of PLY files, text and binary. Other elements and properties are passed over.

#include <string_view>

#include "RawMesh.h"

/// Throws `MeshFileDefect` if the header is damaged, the file is cut short or impossible, or a face no triangle.
RawMesh readPly(std::string_view bytes);
