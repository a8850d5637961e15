#pragma once
/// \file
/// The mesh type of the program: triangles, single precision.

#include <OpenMesh/Core/Mesh/TriMesh_ArrayKernelT.hh>

using Mesh = OpenMesh::TriMesh_ArrayKernelT<>;
