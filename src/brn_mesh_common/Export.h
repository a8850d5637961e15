#pragma once
/// \file
/// Marks what `brn_mesh_common` exports. A host does not need it.

#if defined(_WIN32)
#if defined(BRN_MESH_COMMON_BUILDING)
#define BRN_MESH_COMMON_EXPORT __declspec(dllexport)
#else
#define BRN_MESH_COMMON_EXPORT __declspec(dllimport)
#endif
#else
#define BRN_MESH_COMMON_EXPORT __attribute__((visibility("default")))
#endif
