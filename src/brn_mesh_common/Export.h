#pragma once
/// \file
/// `BRN_MESH_COMMON_EXPORT` marks what `brn_mesh_common` exports.
/// The macro expands to an import in a host and to an export while the library itself is built.

#include <brn_mesh_common/Platform.h>

/// \def BRN_MESH_COMMON_EXPORT
/// Stands before what `brn_mesh_common` exports.
#if defined(BRN_MESH_COMMON_BUILDING)
#define BRN_MESH_COMMON_EXPORT BRN_SYMBOL_EXPORT
#else
#define BRN_MESH_COMMON_EXPORT BRN_SYMBOL_IMPORT
#endif
