#include <brn_mesh_common/minidump/DumpPath_win.h>

#include <cstdint>
#include <cwchar>
#include <string_view>

#include <windows.h>

#include <ntsecapi.h>

namespace Brennic::Minidump {

namespace {

// The process's file name without its directory and ".exe", cut so that the rest has room behind it.
std::wstring_view processName(PathBuffer& buffer)
{
    constexpr std::size_t longestName = 180;
    const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    std::wstring_view name(buffer.data(), length);
    name.remove_prefix(name.find_last_of(L"\\/") + 1);
    return name.substr(0, name.rfind(L'.')).substr(0, longestName);
}

} // namespace

void makeRandomName(wchar_t* name)
{
    std::uint64_t bits = 0;
    LARGE_INTEGER counter{};
    QueryPerformanceCounter(&counter);
    if (RtlGenRandom(&bits, sizeof bits) == 0) // at least no two threads get the same name
        bits = (static_cast<std::uint64_t>(counter.QuadPart) ^
                (static_cast<std::uint64_t>(GetCurrentThreadId()) << 40)) *
               0x9e3779b97f4a7c15;
    constexpr std::wstring_view characters = L"abcdefghijklmnopqrstuvwxyz234567";
    for (std::size_t i = 0; i + 1 != randomNameSize; ++i, bits >>= 5)
        *name++ = characters[bits % characters.size()];
    *name = L'\0';
}

bool makeTemporaryDumpPath(PathBuffer& path)
{
    static PathBuffer executable;
    const std::wstring_view name = processName(executable);
    const DWORD length = GetTempPathW(static_cast<DWORD>(path.size()), path.data());
    if (length == 0 || length >= path.size())
        return false;
    SYSTEMTIME now{};
    GetSystemTime(&now);
    const std::size_t room = path.size() - length;
    std::array<wchar_t, randomNameSize> random{};
    makeRandomName(random.data());
    const int written =
        _snwprintf(path.data() + length, room, L"%.*ls-%lu-%04d%02d%02d-%02d%02d%02d-%ls.dmp",
                   static_cast<int>(name.size()), name.data(), GetCurrentProcessId(), now.wYear, now.wMonth,
                   now.wDay, now.wHour, now.wMinute, now.wSecond, random.data());
    return written > 0 && static_cast<std::size_t>(written) < room;
}

bool appendExtension(const wchar_t* path, const wchar_t* extension, PathBuffer& result)
{
    const std::size_t length = std::wcslen(path);
    const std::size_t extensionLength = std::wcslen(extension);
    if (length + extensionLength >= result.size())
        return false;
    std::wmemcpy(result.data(), path, length);
    std::wmemcpy(result.data() + length, extension, extensionLength + 1);
    return true;
}

} // namespace Brennic::Minidump
