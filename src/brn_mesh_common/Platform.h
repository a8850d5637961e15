#pragma once
/// \file
/// What differs between platforms in the public headers: how a symbol enters and leaves a shared library.
/// A host does not need it.

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
