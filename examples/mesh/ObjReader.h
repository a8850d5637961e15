#pragma once
/// \file
/// Places and faces of OBJ files. Everything else in them is passed over, files that they name included.

#include <string_view>

#include "RawMesh.h"

/// Throws `MeshFileDefect` if a place or face is incomplete or impossible, or a face no triangle.
RawMesh readObj(std::string_view text);
