#include <brn_mesh_common/minidump/DumpPath_win.h>

#include <cwchar>
#include <string_view>

#include <windows.h>

namespace Brennic::Minidump {

namespace {

// The process's file name without its directory and ".exe", cut so that the rest has room behind it.
std::wstring_view processName(PathBuffer& buffer)
{
    constexpr std::size_t longestName = 200;
    const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    std::wstring_view name(buffer.data(), length);
    name.remove_prefix(name.find_last_of(L"\\/") + 1);
    return name.substr(0, name.rfind(L'.')).substr(0, longestName);
}

} // namespace

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
    const int written = _snwprintf(path.data() + length, room, L"%.*ls-%lu-%04d%02d%02d-%02d%02d%02d.dmp",
                                   static_cast<int>(name.size()), name.data(), GetCurrentProcessId(),
                                   now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond);
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
