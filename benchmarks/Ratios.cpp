#include "Ratios.h"

#include <cstdio>
#include <map>

#include <benchmark/benchmark.h>

namespace {

using Times = std::map<std::string, double>;

// Keeps the medians, and prints as usual.
class CollectingReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                medianSeconds[run.run_name.function_name] =
                    run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        ConsoleReporter::ReportRuns(runs);
    }

    Times medianSeconds;
};

void print(const Ratio& ratio, Times& times)
{
    const double peer = times[ratio.peer];
    const double ours = times[ratio.ours] - times[ratio.apart];
    if (peer <= 0 || ours <= 0)
        return; // left out by a filter
    const double value = ours / peer;
    if (ratio.target == 0) {
        std::printf("%-50s %8.2f  (for information)\n", ratio.what.c_str(), value);
        return;
    }
    std::printf("%-50s %8.2f  (target %5.2f)  %s\n", ratio.what.c_str(), value, ratio.target,
                value <= ratio.target ? "reached" : "MISSED");
}

} // namespace

int runWithRatios(int argc, char** argv, const std::vector<Ratio>& ratios)
{
    std::string repetitions = "--benchmark_repetitions=7";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::string aggregates = "--benchmark_display_aggregates_only=true";
    std::vector<char*> arguments = {argv[0], repetitions.data(), interleaving.data(), aggregates.data()};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 1;
    CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nRatios of the medians\n");
    for (const Ratio& ratio : ratios)
        print(ratio, reporter.medianSeconds);
    return 0;
}
