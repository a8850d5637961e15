#pragma once
/// \file
/// The command line.

#include <filesystem>
#include <optional>
#include <string>

#include <brn_mesh_kernel/kernel/EKvsLogLevel.h>

struct Options
{
    std::filesystem::path input;
    std::filesystem::path output;
    std::filesystem::path log;
    std::filesystem::path report;
    int iterations = 10;
    int subdivisions = 0;
    int threads = 1; ///< set to the number of cores by \ref parseCommandLine
    Brennic::Core::EKvsLogLevel logLevel = Brennic::Core::Info;
    std::string logPattern; ///< empty: the kernel's own
    std::string crash;      ///< how to crash in the middle of smoothing; empty: not at all
};

enum ExitCode
{
    exitDone = 0,
    exitFailed = 1,
    exitWrongUsage = 2,
};

/// Reads the command line. Prints what was asked for (help, version) or what is wrong with it, and then gives
/// the exit code in \p exitCode instead of options.
std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitCode);
