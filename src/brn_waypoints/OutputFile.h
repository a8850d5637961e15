#pragma once
/// \file
/// Writes a file wholly or not at all.

#include <filesystem>
#include <functional>
#include <iosfwd>

namespace Brennic::Waypoints {

/// Has \p write fill a new file beside \p file, which then takes its place. `-` is the standard output.
///
/// Throws `std::runtime_error` with the file's name if that fails; what was there before is still there then. Devices
/// and pipes are written to directly.
void writeOutput(const std::filesystem::path& file, const std::function<void(std::ostream&)>& write);

} // namespace Brennic::Waypoints
