#pragma once
/// \file
/// Runs benchmarks and compares ours with their peers. Absolute times are a machine's; ratios within one run
/// carry over.

#include <string>
#include <vector>

struct Ratio
{
    std::string what;  ///< ours and the peer, with " / " between them
    std::string ours;  ///< name of a benchmark
    std::string peer;  ///< name of a benchmark
    double target;     ///< the ratio of their times is to be at most this; 0 for information only
    std::string apart; ///< name of a benchmark whose time is taken off ours first; empty for none
};

/// What was measured beforehand and is no time.
struct Figure
{
    std::string what;
    double value;
    double limit;     ///< the value is to be at most this; 0 for information only
    std::string unit; ///< empty for a plain number, which may be a fraction
};

struct Comparison
{
    std::vector<Ratio> ratios;
    std::vector<Figure> figures = {};
};

/// Runs the benchmarks, each several times and in turn with the others, and prints the ratios of the medians. A ratio
/// whose two sides together spread by more than half is said to tell nothing. A file that is asked for with
/// `--benchmark_out` holds the ratios' names and targets, and the figures, in its context.
int runWithRatios(int argc, char** argv, const Comparison& comparison);
