#pragma once
/// \file
/// How a symbol enters and leaves a shared library: `BRN_SYMBOL_EXPORT` and `BRN_SYMBOL_IMPORT`.
/// A host does not need it.

#include <brn_mesh_common/Platform.h>
