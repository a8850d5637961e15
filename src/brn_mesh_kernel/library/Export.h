#pragma once
/// \file
/// `BRN_MESH_KERNEL_EXPORT` marks the classes and functions that `brn_mesh_kernel` exports.
/// The macro expands to an import in a host and to an export while the library itself is built.

#include <brn_mesh_common/Platform.h>

/// \def BRN_MESH_KERNEL_EXPORT
/// Stands before what `brn_mesh_kernel` exports.
#if defined(BRN_MESH_KERNEL_BUILDING)
#define BRN_MESH_KERNEL_EXPORT BRN_SYMBOL_EXPORT
#else
#define BRN_MESH_KERNEL_EXPORT BRN_SYMBOL_IMPORT
#endif
