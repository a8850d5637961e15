#include "Ratios.h"

#include <cstdio>
#include <map>
#include <sstream>

#include <benchmark/benchmark.h>

#include <QtGlobal>

namespace {

using Times = std::map<std::string, double>;

// What benchmarks/report reads: names and limits, of which it makes the ratios from the times in the same file.
std::string asText(const Ratio& ratio)
{
    std::ostringstream text;
    text << ratio.what << '|' << ratio.ours << '|' << ratio.peer << '|' << ratio.target << '|' << ratio.apart;
    return text.str();
}

std::string asText(const Figure& figure)
{
    std::ostringstream text;
    text << figure.what << '|' << figure.value << '|' << figure.limit << '|' << figure.unit;
    return text.str();
}

// Keeps the medians, and prints them with their variation. The file, which is begun after the console, tells more.
class CollectingReporter : public benchmark::ConsoleReporter
{
public:
    explicit CollectingReporter(const Comparison& comparison) : m_comparison(comparison) {}

    bool ReportContext(const Context& context) override
    {
        const bool result = ConsoleReporter::ReportContext(context);
        benchmark::AddCustomContext("qt", qVersion());
        benchmark::AddCustomContext("compiler", BRN_COMPILER);
        int count = 10; // so that they are sorted as they stand
        for (const Ratio& ratio : m_comparison.ratios)
            benchmark::AddCustomContext("ratio " + std::to_string(count++), asText(ratio));
        for (const Figure& figure : m_comparison.figures)
            benchmark::AddCustomContext("figure " + std::to_string(count++), asText(figure));
        return result;
    }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        std::vector<Run> shown;
        for (const Run& run : runs) {
            if (run.error_occurred || run.aggregate_name == "median" || run.aggregate_name == "cv")
                shown.push_back(run);
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                medianSeconds[run.run_name.function_name] =
                    run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        }
        if (!shown.empty())
            ConsoleReporter::ReportRuns(shown);
    }

    Times medianSeconds;

private:
    const Comparison& m_comparison;
};

const char* verdict(double value, double target)
{
    return value <= target ? "reached" : "MISSED";
}

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
                verdict(value, ratio.target));
}

void print(const Figure& figure)
{
    std::printf("%-50s %8.0f  (limit %6.0f %s)  %s\n", figure.what.c_str(), figure.value, figure.limit,
                figure.unit.c_str(), verdict(figure.value, figure.limit));
}

} // namespace

int runWithRatios(int argc, char** argv, const Comparison& comparison)
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
    CollectingReporter reporter(comparison);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    if (!comparison.ratios.empty())
        std::printf("\nRatios of the medians\n");
    for (const Ratio& ratio : comparison.ratios)
        print(ratio, reporter.medianSeconds);
    for (const Figure& figure : comparison.figures)
        print(figure);
    return 0;
}
