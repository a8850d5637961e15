#include "crash/child/Handlers.h"

#include <array>
#include <cstdlib>
#include <cwchar>
#include <fstream>

#include <boost/nowide/utf/convert.hpp>
#include <brn_mesh_kernel/kernel/Kernel.h>

#include "crash/child/Crashes.h"
#include "crash/child/PlatformReactions.h"

namespace Brennic::Testing {

namespace {

bool allocate()
{
    void* volatile memory = std::malloc(100'000);
    std::free(memory);
    return memory != nullptr;
}

bool changeSettings()
{
    Core::Kernel& kernel = Core::Kernel::Instance();
    kernel.SetSendCrashDumpHandler({});
    kernel.SetLogFilePath(L"");
    kernel.Initialize();
    return true;
}

bool checkFiles(const std::filesystem::path& directory)
{
    const bool hasDump = std::filesystem::exists(directory / "crash_child.dmp");
    const bool hasReport = std::filesystem::file_size(directory / "crash_child_command_log.xml") > 0;
    std::ofstream(directory / "found") << (hasDump && hasReport ? "dump and report" : "not all");
    return true;
}

// For a directory that only this process can see.
bool copyDump(const std::filesystem::path& directory)
{
    const std::filesystem::path copy = std::filesystem::temp_directory_path() / "copy.dmp";
    return std::filesystem::copy_file(directory / "crash_child.dmp", copy);
}

const Reactions& reactions()
{
    static const Reactions table{
        {"true", [](const auto&) { return true; }},
        {"false", [](const auto&) { return false; }},
        {"segfault", [](const auto&) { return crash("null-write"); }},
        {"abort", [](const auto&) { return crash("abort"); }},
        {"throw", [](const auto&) { return crash("throw"); }},
        {"allocate", [](const auto&) { return allocate(); }},
        {"change-settings", [](const auto&) { return changeSettings(); }},
        {"check-files", checkFiles},
        {"copy-dump", copyDump},
    };
    return table;
}

React reactionNamed(const std::string& name)
{
    for (const Reactions* table : {&reactions(), &platformReactions()}) {
        const auto found = table->find(name);
        if (found != table->end())
            return found->second;
    }
    return nullptr;
}

} // namespace

std::function<bool(const wchar_t*)> crashHandler(const std::string& name,
                                                 const std::filesystem::path& directory)
{
    const React react = reactionNamed(name);
    if (react == nullptr)
        return nullptr;
    return [directory, file = directory / "handler", react](const wchar_t* path) {
        std::array<char, 4096> text{};
        boost::nowide::utf::convert_buffer(text.data(), text.size(), path, path + std::wcslen(path));
        writeDown(file, text.data());
        return react(directory);
    };
}

} // namespace Brennic::Testing
