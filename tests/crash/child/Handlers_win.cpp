#include "crash/child/PlatformReactions.h"

#include <cstdlib>
#include <fstream>
#include <string_view>

#include <windows.h>

namespace Brennic::Testing {

namespace {

bool noteThread(const std::filesystem::path& directory)
{
    std::ofstream(directory / "thread") << GetCurrentThreadId();
    return true;
}

bool endThread()
{
    ExitThread(0);
}

bool waitForEver()
{
    for (;;)
        Sleep(INFINITE);
}

} // namespace

void writeDown(const std::filesystem::path& file, const char* text)
{
    const HANDLE handle =
        CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    const auto size = static_cast<DWORD>(std::string_view(text).size());
    DWORD written = 0;
    if (WriteFile(handle, text, size, &written, nullptr) == 0 || written != size)
        std::_Exit(92);
    CloseHandle(handle);
}

const Reactions& platformReactions()
{
    static const Reactions table{
        {"wait", [](const auto&) { return waitForEver(); }},
        {"end-thread", [](const auto&) { return endThread(); }},
        {"note-thread", noteThread},
    };
    return table;
}

} // namespace Brennic::Testing
