#pragma once
/// \file
/// The command line.

#include <optional>
#include <string>

#include "RunOptions.h"

struct Options : RunOptions
{
    std::string crash; ///< how to crash in the middle of smoothing; empty: not at all
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
