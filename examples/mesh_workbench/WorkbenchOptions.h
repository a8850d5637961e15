#pragma once
/// \file
/// The command line of the window: that of a run, and what is done with the window.

#include <filesystem>
#include <optional>

#include "RunOptions.h"

struct WorkbenchOptions : RunOptions
{
    std::filesystem::path screenshot; ///< where to save a picture of the window after the run; empty: nowhere
};

enum ExitCode
{
    exitDone = 0,
    exitFailed = 1,
    exitWrongUsage = 2,
};

/// Reads the command line. Prints what was asked for (help, version) or what is wrong with it, and then gives
/// the exit code in \p exitCode instead of options. Without a mesh the output and the report have no names.
std::optional<WorkbenchOptions> parseCommandLine(int argc, const char* const* argv, int& exitCode);
