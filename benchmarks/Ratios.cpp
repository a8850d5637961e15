#include "Ratios.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <sstream>

#include <benchmark/benchmark.h>

#include <QtGlobal>

namespace {

// For each benchmark the times of its repetitions, in seconds.
using Times = std::map<std::string, std::vector<double>>;

// Above this spread the machine's other work has decided, so no verdict is given.
constexpr double spreadThatTellsNothing = 0.5;

struct Summary
{
    double median = 0;
    double spread = 0; // half the distance between the quartiles, relative to the median
};

// Interpolates where the quantile lies between two values.
double quantile(const std::vector<double>& sorted, double part)
{
    const double position = part * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(position);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] + (sorted[above] - sorted[below]) * (position - static_cast<double>(below));
}

Summary summaryOf(const Times& times, const std::string& name)
{
    const auto found = times.find(name);
    if (found == times.end() || found->second.empty())
        return {};
    std::vector<double> sorted = found->second;
    std::sort(sorted.begin(), sorted.end());
    const double median = quantile(sorted, 0.5);
    return {median, (quantile(sorted, 0.75) - quantile(sorted, 0.25)) / 2 / median};
}

// For benchmarks/report.py, which reads names and limits here and computes the ratios from the times in the
// same file.
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

// Keeps the times, and prints medians and variation only. The file that `--benchmark_out` asks for has the
// rest.
class CollectingReporter : public benchmark::ConsoleReporter
{
public:
    explicit CollectingReporter(const Comparison& comparison) : m_comparison(comparison) {}

    bool ReportContext(const Context& context) override
    {
        const bool result = ConsoleReporter::ReportContext(context);
        benchmark::AddCustomContext("qt", qVersion());
        benchmark::AddCustomContext("compiler", BRN_COMPILER);
        int count = 100; // three digits each, so that sorting by name keeps the order
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
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                times[run.run_name.function_name].push_back(run.GetAdjustedRealTime() /
                                                            benchmark::GetTimeUnitMultiplier(run.time_unit));
        }
        if (!shown.empty())
            ConsoleReporter::ReportRuns(shown);
    }

    Times times;

private:
    const Comparison& m_comparison;
};

const char* verdict(double value, double target)
{
    return value <= target ? "reached" : "MISSED";
}

void print(const Ratio& ratio, const Times& times)
{
    const Summary ours = summaryOf(times, ratio.ours);
    const Summary peer = summaryOf(times, ratio.peer);
    const double time = ours.median - summaryOf(times, ratio.apart).median;
    if (peer.median <= 0 || time <= 0)
        return; // a filter has left one of them out
    const double value = time / peer.median;
    const double spread = ours.spread + peer.spread;
    std::printf("%-72s %6.2f  ", ratio.what.c_str(), value);
    if (ratio.target == 0)
        std::printf("(spread %3.0f %%)  for information\n", spread * 100);
    else
        std::printf("(spread %3.0f %%, target %5.2f)  %s\n", spread * 100, ratio.target,
                    spread > spreadThatTellsNothing ? "tells nothing" : verdict(value, ratio.target));
}

// A figure without a unit is a count for each callable. It is rounded to tenths, because now and then a
// thread that is woken adds a hundredth.
void print(const Figure& figure)
{
    const int digits = figure.unit.empty() ? 1 : 0;
    const double scale = std::pow(10, digits);
    const double value = std::round(figure.value * scale) / scale;
    std::printf("%-72s %6.*f  ", figure.what.c_str(), digits, value);
    if (figure.limit == 0)
        std::printf("%s  for information\n", figure.unit.c_str());
    else
        std::printf("(limit %.*f%s%s)  %s\n", digits, figure.limit, figure.unit.empty() ? "" : " ",
                    figure.unit.c_str(), verdict(value, figure.limit));
}

} // namespace

int runWithRatios(int argc, char** argv, const Comparison& comparison)
{
    std::string repetitions = "--benchmark_repetitions=7";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments = {argv[0], repetitions.data(), interleaving.data()};
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
        print(ratio, reporter.times);
    for (const Figure& figure : comparison.figures)
        print(figure);
    return 0;
}
