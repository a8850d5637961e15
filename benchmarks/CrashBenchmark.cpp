/// \file
/// How long a crash takes from the fault to the finished dump, as the crashing process itself measures it: in the
/// host's handler, which is called when report and dump are finished.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include <boost/nowide/convert.hpp>
#include <brn_mesh_kernel/kernel/Kernel.h>

#include <dlfcn.h>
#include <link.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Brennic::Core;

namespace {

constexpr int moduleCount = 44;
constexpr int repetitions = 21;

struct Scene
{
    const char* name;
    int threads;
    std::size_t megabytes;
};

const Scene small{"1 thread, 50 MB", 1, 50};
const Scene busy{"64 threads, 50 MB", 64, 50};
const Scene smallInLargeMemory{"1 thread, 1 GB", 1, 1024};
const Scene busyInLargeMemory{"64 threads, 1 GB", 64, 1024};

double nowInMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
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

// Copies, because the loader takes a file that it has loaded already for the same module.
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
    auto* const memory = new std::vector<char>(megabytes * megabyte, 'x'); // stays
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
        const double time = nowInMilliseconds() - start;
        return write(result, &time, sizeof time) == sizeof time;
    });
    kernel.Initialize();
    kernel.ProfilerWaypoint(L"Before the crash");
    volatile int* volatile nothing = nullptr;
    start = nowInMilliseconds();
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
    const pid_t child = fork(); // before there is a thread here
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

double measure(const Scene& scene)
{
    std::vector<double> times;
    for (int i = 0; i != repetitions; ++i)
        times.push_back(measureOnce(scene));
    std::sort(times.begin(), times.end());
    const double median = times[repetitions / 2];
    std::printf("%-20s %d modules   %6.2f ms   (%.2f to %.2f)\n", scene.name, moduleCount, median,
                times.front(), times.back());
    std::fflush(stdout);
    return median;
}

void compare(const char* what, double value, double target)
{
    std::printf("%-50s %6.2f   at most %.2f   %s\n", what, value, target,
                value <= target ? "kept" : "MISSED");
}

} // namespace

int main()
{
    std::printf("From the fault to report and dump, median of %d crashes\n", repetitions);
    const double smallTime = measure(small);
    const double busyTime = measure(busy);
    const double smallInLargeTime = measure(smallInLargeMemory);
    const double busyInLargeTime = measure(busyInLargeMemory);
    std::printf("\n");
    compare("1 thread, milliseconds", smallTime, 5);
    compare("64 threads, milliseconds", busyTime, 10);
    compare("1 thread, 1 GB / 50 MB", smallInLargeTime / smallTime, 1.5);
    compare("64 threads, 1 GB / 50 MB", busyInLargeTime / busyTime, 1.5);
    return 0;
}
