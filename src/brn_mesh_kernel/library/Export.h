#pragma once
/// \file
/// `BRN_MESH_KERNEL_EXPORT` marks the classes and functions that `brn_mesh_kernel` exports.
/// The macro expands to an import in a host and to an export while the library itself is built.

#if defined(_WIN32)
#if defined(BRN_MESH_KERNEL_BUILDING)
#define BRN_MESH_KERNEL_EXPORT __declspec(dllexport)
#else
#define BRN_MESH_KERNEL_EXPORT __declspec(dllimport)
#endif
#else
#define BRN_MESH_KERNEL_EXPORT __attribute__((visibility("default")))
#endif
