/// \file
/// Measures a crash from the fault to the finished dump. The crashing process measures itself: the host's
/// handler, which runs when report and dump are finished, writes the time to a pipe.

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/nowide/convert.hpp>
#include <brn_mesh_kernel/kernel/Kernel.h>

#include <dlfcn.h>
#include <link.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Ratios.h"

using namespace Brennic::Core;

namespace {

constexpr int moduleCount = 44;

struct Scene
{
    int threads;
    std::size_t megabytes;
};

double nowInSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

int countModules()
{
    int count = 0;
    dl_iterate_phdr(
        [](dl_phdr_info*, std::size_t, void* data) {
            ++*static_cast<int*>(data);
            return 0;
        },
        &count);
    return count;
}

// Loads copies, because the loader does not load the same file twice.
void loadModules(const std::filesystem::path& directory)
{
    for (int i = 0; countModules() < moduleCount; ++i) {
        const std::filesystem::path copy = directory / ("module" + std::to_string(i) + ".so");
        std::filesystem::copy_file(BRN_BENCHMARK_MODULE, copy);
        if (dlopen(copy.c_str(), RTLD_NOW) == nullptr)
            std::abort();
    }
}

void fillMemory(std::size_t megabytes)
{
    constexpr std::size_t megabyte = 1024UL * 1024;
    auto* const memory = new std::vector<char>(megabytes * megabyte, 'x'); // kept until the crash
    if (memory->back() != 'x')
        std::abort();
}

void startThreads(int count)
{
    for (int i = 0; i != count; ++i) {
        std::promise<void> isRunning;
        std::thread([&isRunning] {
            isRunning.set_value();
            for (;;)
                pause();
        }).detach();
        isRunning.get_future().wait();
    }
}

[[noreturn]] void crashAndMeasure(const Scene& scene, const std::filesystem::path& directory, int result)
{
    static volatile double start = 0;
    loadModules(directory);
    fillMemory(scene.megabytes);
    startThreads(scene.threads - 1);
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(boost::nowide::widen((directory / "crash.log").u8string()).c_str());
    kernel.SetSendCrashDumpHandler([result](const wchar_t*) {
        const double time = nowInSeconds() - start;
        return write(result, &time, sizeof time) == sizeof time;
    });
    kernel.Initialize();
    kernel.ProfilerWaypoint(L"Before the crash");
    volatile int* volatile nothing = nullptr;
    start = nowInSeconds();
    *nothing = 1; // NOLINT(clang-analyzer-core.NullDereference): that is the point
    std::abort();
}

double measureOnce(const Scene& scene)
{
    const std::filesystem::path directory =
        std::filesystem::temp_directory_path() / ("brn_crash_benchmark_" + std::to_string(getpid()));
    std::filesystem::create_directories(directory);
    int ends[2];
    if (pipe(ends) != 0)
        std::abort();
    const pid_t child = fork(); // safe: this process has no other threads
    if (child == 0)
        crashAndMeasure(scene, directory, ends[1]);
    waitpid(child, nullptr, 0);
    double time = -1;
    close(ends[1]);
    const bool isMeasured = read(ends[0], &time, sizeof time) == sizeof time;
    close(ends[0]);
    const bool hasDump = std::filesystem::exists(directory / "crash_benchmark.dmp");
    std::filesystem::remove_all(directory);
    if (!isMeasured || !hasDump)
        std::abort();
    return time;
}

template <typename Function>
void add(const char* name, Function function)
{
    benchmark::RegisterBenchmark(name, function)
        ->UseManualTime()
        ->Iterations(3)
        ->Unit(benchmark::kMillisecond);
}

void addCrash(const char* name, const Scene& scene)
{
    add(name, [scene](benchmark::State& state) {
        for (auto iteration : state)
            state.SetIterationTime(measureOnce(scene));
    });
}

void addLimit(const char* name, double seconds)
{
    add(name, [seconds](benchmark::State& state) {
        for (auto iteration : state)
            state.SetIterationTime(seconds);
    });
}

} // namespace

int main(int argc, char** argv)
{
    addCrash("crash/50 MB/1 thread", {1, 50});
    addCrash("crash/50 MB/64 threads", {64, 50});
    addCrash("crash/1 GB/1 thread", {1, 1024});
    addCrash("crash/1 GB/64 threads", {64, 1024});
    addLimit("5 ms", 5e-3);
    addLimit("10 ms", 10e-3);
    return runWithRatios(
        argc, argv,
        {{{"1 thread, 50 MB / 5 ms", "crash/50 MB/1 thread", "5 ms", 1.0, ""},
          {"64 threads, 50 MB / 10 ms", "crash/50 MB/64 threads", "10 ms", 1.0, ""},
          {"1 thread, 1 GB / 50 MB", "crash/1 GB/1 thread", "crash/50 MB/1 thread", 1.5, ""},
          {"64 threads, 1 GB / 50 MB", "crash/1 GB/64 threads", "crash/50 MB/64 threads", 1.5, ""}}});
}
