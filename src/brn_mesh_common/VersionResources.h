#pragma once
/// \file
/// Internal, not installed. The version texts that the files of the program carry.

#include <brn_mesh_common/Util.h>

namespace Brennic::Objects::Util {

/// Reads the product's texts from the executable, the file's from the kernel's library.
/// \return false, with \p versionInfo unchanged, if one of the two carries none; always on Linux.
bool readVersionResources(VersionInfo& versionInfo);

} // namespace Brennic::Objects::Util
