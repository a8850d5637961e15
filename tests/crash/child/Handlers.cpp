#include "crash/child/Handlers.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <cwchar>
#include <fstream>
#include <map>
#include <stdexcept>

#include <boost/nowide/utf/convert.hpp>
#include <brn_mesh_kernel/kernel/Kernel.h>

#include <fcntl.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include "crash/child/Crashes.h"

namespace Brennic::Testing {

namespace {

void writeDown(const std::filesystem::path& file, const wchar_t* path)
{
    std::array<char, 4096> text{};
    boost::nowide::utf::convert_buffer(text.data(), text.size(), path, path + std::wcslen(path));
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const auto size = static_cast<ssize_t>(std::string_view(text.data()).size());
    if (write(descriptor, text.data(), static_cast<std::size_t>(size)) != size)
        std::_Exit(92);
    close(descriptor);
}

bool allocate()
{
    void* volatile memory = std::malloc(100'000);
    std::free(memory);
    return memory != nullptr;
}

bool waitForEver()
{
    for (;;)
        pause();
}

bool forkAndCrash()
{
    const pid_t child = fork();
    if (child == 0)
        crash("null-write");
    int status = 0;
    waitpid(child, &status, 0);
    return true;
}

bool changeSettings()
{
    Core::Kernel& kernel = Core::Kernel::Instance();
    kernel.SetSendCrashDumpHandler({});
    kernel.SetLogFilePath(L"");
    kernel.Initialize();
    return true;
}

// Whether the thread may be ended by a signal that its handler holds back, as processes started here would be.
bool dieOfTermination()
{
    return raise(SIGTERM) == 0;
}

bool checkFiles(const std::filesystem::path& directory)
{
    const bool hasDump = std::filesystem::exists(directory / "crash_child.dmp");
    const bool hasReport = std::filesystem::file_size(directory / "crash_child_command_log.xml") > 0;
    std::ofstream(directory / "found") << (hasDump && hasReport ? "dump and report" : "not all");
    return true;
}

bool noteThread(const std::filesystem::path& directory)
{
    std::ofstream(directory / "thread") << gettid();
    return true;
}

// For a directory that only this process can see.
bool copyDump(const std::filesystem::path& directory)
{
    const std::filesystem::path copy = std::filesystem::temp_directory_path() / "copy.dmp";
    return std::filesystem::copy_file(directory / "crash_child.dmp", copy);
}

bool endThread()
{
    pthread_exit(nullptr);
}

using React = std::function<bool(const std::filesystem::path& directory)>;

const std::map<std::string, React>& reactions()
{
    static const std::map<std::string, React> table{
        {"true", [](const auto&) { return true; }},
        {"false", [](const auto&) { return false; }},
        {"segfault", [](const auto&) { return crash("null-write"); }},
        {"abort", [](const auto&) { return crash("abort"); }},
        {"throw", [](const auto&) { return crash("throw"); }},
        {"wait", [](const auto&) { return waitForEver(); }},
        {"allocate", [](const auto&) { return allocate(); }},
        {"fork-and-crash", [](const auto&) { return forkAndCrash(); }},
        {"change-settings", [](const auto&) { return changeSettings(); }},
        {"terminate", [](const auto&) { return dieOfTermination(); }},
        {"end-thread", [](const auto&) { return endThread(); }},
        {"check-files", checkFiles},
        {"note-thread", noteThread},
        {"copy-dump", copyDump},
    };
    return table;
}

} // namespace

std::function<bool(const wchar_t*)> crashHandler(const std::string& name,
                                                 const std::filesystem::path& directory)
{
    const auto found = reactions().find(name);
    if (found == reactions().end())
        return nullptr;
    return [directory, file = directory / "handler", react = found->second](const wchar_t* path) {
        writeDown(file, path);
        return react(directory);
    };
}

} // namespace Brennic::Testing
