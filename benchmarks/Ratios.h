#pragma once
/// \file
/// Runs benchmarks and compares ours with their peers. Absolute times belong to one machine; ratios within
/// one run carry over to others.

#include <string>
#include <vector>

struct Ratio
{
    std::string what;  ///< ours and the peer, with " / " between them
    std::string ours;  ///< name of a benchmark
    std::string peer;  ///< name of a benchmark
    double target;     ///< the highest ratio of their times that is good enough; 0 for information only
    std::string apart; ///< name of a benchmark whose time is subtracted from ours first; empty for none
};

/// A number that is not a time, measured before the benchmarks run.
struct Figure
{
    std::string what;
    double value;
    double limit;     ///< the highest value that is good enough; 0 for information only
    std::string unit; ///< empty for a plain number, which may be a fraction
};

struct Comparison
{
    std::vector<Ratio> ratios;
    std::vector<Figure> figures = {};
};

/// Runs the benchmarks, each seven times and interleaved with the others, and prints the ratios of the
/// medians. If the two sides of a ratio together spread by more than half, no verdict is given. With
/// `--benchmark_out` the file's context holds the figures, and the names and targets of the ratios.
int runWithRatios(int argc, char** argv, const Comparison& comparison);
