#include "crash/child/Handlers.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <cwchar>
#include <map>
#include <stdexcept>

#include <boost/nowide/utf/convert.hpp>
#include <brn_mesh_kernel/kernel/Kernel.h>

#include <fcntl.h>
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

bool allocate(bool answer)
{
    void* volatile memory = std::malloc(100'000);
    std::free(memory);
    return answer;
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

const std::map<std::string, std::function<bool()>>& reactions()
{
    static const std::map<std::string, std::function<bool()>> table{
        {"true", [] { return true; }},
        {"false", [] { return false; }},
        {"segfault", [] { return crash("null-write"); }},
        {"abort", [] { return crash("abort"); }},
        {"throw", [] { return crash("throw"); }},
        {"wait", waitForEver},
        {"allocate", [] { return allocate(true); }},
        {"fork-and-crash", forkAndCrash},
        {"change-settings", changeSettings},
        {"terminate", dieOfTermination},
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
    return [file = directory / "handler", react = found->second](const wchar_t* path) {
        writeDown(file, path);
        return react();
    };
}

} // namespace Brennic::Testing
