/// \file
/// Measures a log record, beside log4cplus's own macros on the same logger with the same appender. Standard
/// error is `/dev/null`, because the copies for the debugger are written there.

#include <cstdio>
#include <filesystem>

#include <benchmark/benchmark.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/DebuggerOutput.h>
#include <brn_mesh_kernel/logging/ILogger.h>
#include <brn_mesh_kernel/logging/Log.h>

#include "Ratios.h"

using namespace Brennic::Core;

namespace {

log4cplus::Logger& heldLogger()
{
    static log4cplus::Logger logger = log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("Default"));
    return logger;
}

void logDisabled(benchmark::State& state)
{
    ILogger* const logger = Kernel::Instance().Logger();
    for (auto iteration : state)
        logger->Log(Debug, L"loaded %s with %d vertices", L"bunny.obj", 34835);
}
BENCHMARK(logDisabled);

void macroDisabled(benchmark::State& state)
{
    log4cplus::Logger& logger = heldLogger(); // the macro copies a const one
    for (auto iteration : state)
        LOG4CPLUS_DEBUG_FMT(logger, LOG4CPLUS_TEXT("loaded %s with %d vertices"), LOG4CPLUS_TEXT("bunny.obj"),
                            34835);
}
BENCHMARK(macroDisabled);

void isEnabled(benchmark::State& state)
{
    ILogger* const logger = Kernel::Instance().Logger();
    for (auto iteration : state)
        benchmark::DoNotOptimize(logger->IsEnabled(Debug));
}
BENCHMARK(isEnabled);

void typedDisabled(benchmark::State& state)
{
    for (auto iteration : state)
        BRN_LOG(Debug, "loaded {} with {} vertices", L"bunny.obj", 34835);
}
BENCHMARK(typedDisabled);

void typedIntoFile(benchmark::State& state)
{
    for (auto iteration : state)
        BRN_LOG(Info, "loaded {} with {} vertices", L"bunny.obj", 34835);
}
BENCHMARK(typedIntoFile);

void logIntoFile(benchmark::State& state)
{
    ILogger* const logger = Kernel::Instance().Logger();
    for (auto iteration : state)
        logger->Log(Info, L"loaded %s with %d vertices", L"bunny.obj", 34835);
}
BENCHMARK(logIntoFile);

void macroIntoFile(benchmark::State& state)
{
    log4cplus::Logger& logger = heldLogger(); // the macro copies a const one
    for (auto iteration : state)
        LOG4CPLUS_INFO_FMT(logger, LOG4CPLUS_TEXT("loaded %s with %d vertices"), LOG4CPLUS_TEXT("bunny.obj"),
                           34835);
}
BENCHMARK(macroIntoFile);

void debuggerLine(benchmark::State& state)
{
    const std::wstring message = L"loaded bunny.obj with 34835 vertices";
    for (auto iteration : state)
        writeDebuggerLine(message);
}
BENCHMARK(debuggerLine);

// Removes the console's appender, which the kernel attaches first: the console is for the results.
void leaveOnlyTheFile()
{
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    root.removeAppender(root.getAllAppenders().front());
}

} // namespace

int main(int argc, char** argv)
{
    const auto directory = std::filesystem::temp_directory_path() / "brn_logging_benchmark";
    std::filesystem::create_directory(directory);
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath((directory / "benchmark.log").wstring().c_str());
    kernel.Initialize();
    leaveOnlyTheFile();
    if (std::freopen("/dev/null", "w", stderr) == nullptr)
        return 1;
    const int result = runWithRatios(
        argc, argv,
        {{{"Log at a disabled level / macro on a held logger", "logDisabled", "macroDisabled", 1.5, ""},
          {"BRN_LOG at a disabled level / IsEnabled on a held logger", "typedDisabled", "isEnabled", 1.5, ""},
          {"BRN_LOG into a file / Log, debugger line included", "typedIntoFile", "logIntoFile", 0, ""},
          {"Log into a file / macro, debugger line apart", "logIntoFile", "macroIntoFile", 1.5,
           "debuggerLine"},
          {"Log into a file / macro, debugger line included", "logIntoFile", "macroIntoFile", 0, ""}}});
    std::filesystem::remove_all(directory);
    return result;
}
