/// \file
/// Measures a waypoint beside one reading of the clock, and the report beside the XML writer that defines its
/// format. All in CPU time, so that other work of the machine does not count.

#include <ctime>
#include <filesystem>
#include <locale>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <brn_mesh_kernel/diagnostics/WaypointReport.h>
#include <brn_mesh_kernel/kernel/Kernel.h>

#include "Ratios.h"

using namespace Brennic::Core;

namespace {

constexpr std::size_t reportSize = 100'000;

std::filesystem::path reportPath()
{
    return std::filesystem::temp_directory_path() / "brn_profiler_benchmark.xml";
}

// The thread's CPU time in seconds. It covers the reports too, since the calling thread writes them.
double processorTime()
{
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

template <typename Function>
void measure(benchmark::State& state, int times, const Function& function)
{
    for (auto iteration : state) {
        const double start = processorTime();
        for (int i = 0; i < times; ++i)
            function();
        state.SetIterationTime(processorTime() - start);
    }
}

constexpr int batch = 1000; // takes long compared with reading the clock
constexpr int batchCount =
    50; // more waypoints than any host has would measure how the system hands out memory

void clockRead(benchmark::State& state)
{
    timespec now{};
    measure(state, batch, [&now] {
        clock_gettime(CLOCK_MONOTONIC, &now);
        benchmark::DoNotOptimize(now);
    });
}
BENCHMARK(clockRead)->Iterations(batchCount)->UseManualTime();

// Each measurement makes a kernel, because a kernel keeps its waypoints as long as it lives.
void waypoint(benchmark::State& state)
{
    Kernel kernel;
    kernel.Initialize();
    measure(state, batch, [&kernel] { benchmark::DoNotOptimize(kernel.ProfilerWaypoint(L"Smooth")); });
}
BENCHMARK(waypoint)->Iterations(batchCount)->UseManualTime();

std::vector<Waypoint> manyWaypoints()
{
    std::vector<Waypoint> waypoints;
    for (std::size_t i = 0; i < reportSize; ++i)
        waypoints.push_back({L"Waypoint " + std::to_wstring(i), static_cast<std::int64_t>(i) * 17,
                             static_cast<std::int64_t>(i), static_cast<std::int64_t>(i) * 4096});
    return waypoints;
}

void report(benchmark::State& state)
{
    const std::vector<Waypoint> waypoints = manyWaypoints();
    const std::wstring path = reportPath().wstring();
    measure(state, 1, [&] { WriteWaypointReport(waypoints, path); });
}
BENCHMARK(report)->UseManualTime()->Unit(benchmark::kMillisecond);

// The tree is made before the clock starts, so that the writer alone is measured.
void writerAlone(benchmark::State& state)
{
    WriteWaypointReport(manyWaypoints(), reportPath().wstring());
    boost::property_tree::ptree tree;
    read_xml(reportPath().string(), tree, boost::property_tree::xml_parser::trim_whitespace);
    const boost::property_tree::xml_writer_settings<std::string> settings(' ', 2, "utf-8");
    measure(state, 1, [&] { write_xml(reportPath().string(), tree, std::locale(), settings); });
}
BENCHMARK(writerAlone)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    const int result = runWithRatios(
        argc, argv,
        {{{"waypoint without a source / clock_gettime", "waypoint", "clockRead", 5.0, ""},
          {"report of 100,000 waypoints / write_xml of its tree", "report", "writerAlone", 1.3, ""}}});
    std::filesystem::remove(reportPath());
    return result;
}
