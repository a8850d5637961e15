#pragma once
/// \file
/// `BRN_MESH_COMMON_EXPORT` marks what `brn_mesh_common` exports.
/// The macro expands to an import in a host and to an export while the library itself is built.
///
/// The libraries above build their own macros from `BRN_SYMBOL_EXPORT` and `BRN_SYMBOL_IMPORT`.

/// \def BRN_SYMBOL_EXPORT
/// Stands before a symbol in the library that defines it.

/// \def BRN_SYMBOL_IMPORT
/// Stands before the symbol where it is used.
#if defined(_WIN32)
#define BRN_SYMBOL_EXPORT __declspec(dllexport)
#define BRN_SYMBOL_IMPORT __declspec(dllimport)
#else
#define BRN_SYMBOL_EXPORT __attribute__((visibility("default")))
#define BRN_SYMBOL_IMPORT __attribute__((visibility("default")))
#endif

/// \def BRN_MESH_COMMON_EXPORT
/// Stands before what `brn_mesh_common` exports.
#if defined(BRN_MESH_COMMON_BUILDING)
#define BRN_MESH_COMMON_EXPORT BRN_SYMBOL_EXPORT
#else
#define BRN_MESH_COMMON_EXPORT BRN_SYMBOL_IMPORT
#endif
