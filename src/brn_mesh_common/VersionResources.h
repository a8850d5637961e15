#pragma once
/// \file
/// Internal, not installed. The version texts inside the program's files.

#include <brn_mesh_common/Util.h>

namespace Brennic::Objects::Util {

/// Reads the product's texts from the executable, the file's from the kernel's library.
/// \return false, with \p versionInfo unchanged, if one of the two files has none; always on Linux.
bool readVersionResources(VersionInfo& versionInfo);

} // namespace Brennic::Objects::Util
