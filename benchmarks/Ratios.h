#pragma once
/// \file
/// Runs benchmarks and compares ours with their peers. Absolute times are a machine's; ratios within one run
/// carry over.

#include <string>
#include <vector>

struct Ratio
{
    std::string what;
    std::string ours;  ///< name of a benchmark
    std::string peer;  ///< name of a benchmark
    double target;     ///< the ratio of their times is to be at most this; 0 for information only
    std::string apart; ///< name of a benchmark whose time is taken off ours first; empty for none
};

/// Runs the benchmarks, each several times and in turn with the others, and prints the ratios of the medians.
int runWithRatios(int argc, char** argv, const std::vector<Ratio>& ratios);
