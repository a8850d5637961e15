#pragma once
/// \file
/// The command line of brn_waypoints.

#include <filesystem>
#include <optional>
#include <vector>

namespace Brennic::Waypoints {

struct Options
{
    std::vector<std::filesystem::path> reports;
    std::filesystem::path trace; ///< empty: none wanted
    std::filesystem::path html;  ///< empty: none wanted
};

/// Reads the command line. Prints what was asked for (help, version), and returns nothing then.
/// Throws `std::runtime_error` that says what is wrong with it.
std::optional<Options> parseCommandLine(int argc, const char* const* argv);

} // namespace Brennic::Waypoints
