/// \file
/// Measures the same record through the kernel's logger, log4cplus and spdlog: same message, same layout, a
/// rolling file for each. First checks that all write the same lines. Standard error is `/dev/null`, because
/// the copies for the debugger are written there.

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include <QSemaphore>

#include <brn_mesh_kernel/logging/DebuggerOutput.h>
#include <log4cplus/logger.h>

#include "Ratios.h"
#include "peers/KernelLog.h"
#include "peers/Log4cplusAsync.h"
#include "peers/Log4cplusMacro.h"
#ifdef BRN_HAS_SPDLOG
#include "peers/SpdlogAsync.h"
#include "peers/SpdlogFile.h"
#endif

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

// Asynchronous writers have room for all of them, so that none makes the caller wait.
constexpr int records = 4'000;

std::filesystem::path directory()
{
    return std::filesystem::temp_directory_path() / "brn_logging_peers_benchmark";
}

std::filesystem::path kernelLog()
{
    return directory() / "kernel.log";
}

std::filesystem::path peerLog()
{
    return directory() / "peer.log";
}

/// The debugger's copy alone, which only the kernel writes.
class DebuggerLine
{
public:
    static constexpr const char* name = "its debugger line alone";

    explicit DebuggerLine(const std::filesystem::path&) {}

    void log() { Brennic::Core::writeDebuggerLine(m_message); }
    void finish() {}

private:
    std::wstring m_message = L"loaded bunny.obj with 34835 vertices";
};

/// Measures what the calling thread spends on a record. What is written later is waited for after the clock
/// has stopped.
template <typename Peer>
void call(benchmark::State& state)
{
    for (auto iteration : state) {
        Peer peer(peerLog());
        const auto start = Clock::now();
        for (int i = 0; i < records; ++i)
            peer.log();
        state.SetIterationTime(Seconds(Clock::now() - start).count() / records);
        peer.finish();
    }
}

/// Measures until every record has been written, from several threads that have been started before the
/// clock.
template <typename Peer>
void write(benchmark::State& state, int threadCount)
{
    const int share = records / threadCount;
    for (auto iteration : state) {
        Peer peer(peerLog());
        QSemaphore start;
        std::vector<std::thread> threads;
        for (int i = 0; i < threadCount; ++i)
            threads.emplace_back([&] {
                start.acquire();
                for (int record = 0; record < share; ++record)
                    peer.log();
            });
        const auto begin = Clock::now();
        start.release(threadCount);
        for (std::thread& thread : threads)
            thread.join();
        peer.finish();
        state.SetIterationTime(Seconds(Clock::now() - begin).count() / (share * threadCount));
    }
}

template <typename Peer>
void logDisabled(benchmark::State& state)
{
    Peer peer(peerLog());
    for (auto iteration : state)
        peer.logDisabled();
}

template <typename Function>
void add(const std::string& name, Function function)
{
    benchmark::RegisterBenchmark(name.c_str(), function)
        ->UseManualTime()
        ->Iterations(30)
        ->Unit(benchmark::kMicrosecond);
}

template <typename Peer>
void addPeer()
{
    const std::string row = std::string("record/") + Peer::name + '/';
    add(row + "the caller's part", call<Peer>);
    add(row + "written, 1 thread", [](benchmark::State& state) { write<Peer>(state, 1); });
    add(row + "written, 4 threads", [](benchmark::State& state) { write<Peer>(state, 4); });
}

template <typename Peer>
void addDisabled()
{
    const std::string name = std::string("disabled/") + Peer::name + "/disabled record";
    benchmark::RegisterBenchmark(name.c_str(), logDisabled<Peer>)->MinTime(0.1);
}

// The lines of a file without what may differ: the thread's number and the case of letters.
std::vector<std::string> comparableLines(const std::filesystem::path& path)
{
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        line.erase(1, line.find(']') - 1);
        std::transform(line.begin(), line.end(), line.begin(),
                       [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
        lines.push_back(line);
    }
    return lines;
}

template <typename Peer>
bool writesTheSame()
{
    constexpr int count = 100;
    std::filesystem::remove(peerLog());
    {
        Peer peer(peerLog());
        for (int i = 0; i < count; ++i)
            peer.log();
        peer.finish();
    }
    const std::vector<std::string> expected(count, "[] info  - loaded bunny.obj with 34835 vertices");
    const bool isSame =
        comparableLines(std::filesystem::exists(peerLog()) ? peerLog() : kernelLog()) == expected;
    std::filesystem::resize_file(kernelLog(), 0);
    if (!isSame)
        std::printf("%s writes other lines than expected: nothing is measured\n", Peer::name);
    return isSame;
}

template <typename... Peers>
bool writeAllTheSame()
{
    return (writesTheSame<Peers>() && ...);
}

#ifdef BRN_HAS_SPDLOG
bool addSpdlog()
{
    addDisabled<SpdlogFile<Flush::EveryRecord>>();
    addPeer<SpdlogFile<Flush::EveryRecord>>();
    addPeer<SpdlogFile<Flush::WhenFull>>();
    addPeer<SpdlogAsync>();
    return writeAllTheSame<SpdlogFile<Flush::EveryRecord>, SpdlogFile<Flush::WhenFull>, SpdlogAsync>();
}
#else
bool addSpdlog()
{
    return true;
}
#endif

bool addAll()
{
    addDisabled<KernelLog>();
    addDisabled<Log4cplusMacro>();
    addPeer<KernelLog>();
    addPeer<DebuggerLine>();
    addPeer<Log4cplusMacro>();
    addPeer<Log4cplusAsync>();
    return writeAllTheSame<KernelLog, Log4cplusMacro, Log4cplusAsync>() && addSpdlog();
}

// Removes the console's appender, which the kernel attaches first: the console is for the results.
void startKernel()
{
    Brennic::Core::Kernel& kernel = Brennic::Core::Kernel::Instance();
    kernel.SetLogFilePath(kernelLog().wstring().c_str());
    kernel.Initialize();
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    root.removeAppender(root.getAllAppenders().front());
}

} // namespace

int main(int argc, char** argv)
{
    std::filesystem::create_directory(directory());
    startKernel();
    if (std::freopen("/dev/null", "w", stderr) == nullptr)
        return 1;
    const int result = addAll() ? runWithRatios(argc, argv, {}) : 1;
    std::filesystem::remove_all(directory());
    return result;
}
