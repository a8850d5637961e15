#pragma once
/// \file
/// What a run is to do, and where its files are: the options that the hosts share, on their command lines too.

#include <filesystem>
#include <functional>
#include <string>

#include <brn_mesh_kernel/kernel/EKvsLogLevel.h>

namespace CLI {
class App;
class Option;
} // namespace CLI

struct RunOptions
{
    std::filesystem::path input;
    std::filesystem::path output;
    std::filesystem::path log;
    std::filesystem::path report;
    int iterations = 10;
    int subdivisions = 0;
    int threads = 1; ///< set to the number of cores by \ref declareMeshOptions
    Brennic::Core::EKvsLogLevel logLevel = Brennic::Core::Info;
    std::string logPattern; ///< empty: the kernel's own
    std::function<void()>
        midway; ///< called in the middle of smoothing, by the thread that smooths; may be empty
};

constexpr int maxIterations = 1'000'000;
constexpr int maxSubdivisions = 8; // 65,536 triangles for each one

/// Declares the input, the output and what is done in between. Returns the option of the input.
CLI::Option* declareMeshOptions(CLI::App& app, RunOptions& options);
void declareLogOptions(CLI::App& app, RunOptions& options);
void declareReportOption(CLI::App& app, RunOptions& options);

/// Names the files that have no name yet after the input.
/// Throws `CLI::ValidationError`, a `std::runtime_error`, if one file would destroy another.
void completeRunOptions(RunOptions& options);
