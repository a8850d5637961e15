#include "support/ProcessThreads.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include <boost/nowide/convert.hpp>

namespace Brennic::Testing {

namespace {

using GetThreadDescription = HRESULT(WINAPI*)(HANDLE thread, wchar_t** description);

// Import libraries lack it here and there.
GetThreadDescription findGetThreadDescription()
{
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    const auto function = reinterpret_cast<void*>(GetProcAddress(kernel, "GetThreadDescription"));
    return reinterpret_cast<GetThreadDescription>(function);
}

std::string nameOf(HANDLE thread)
{
    static const GetThreadDescription getThreadDescription = findGetThreadDescription();
    wchar_t* description = nullptr;
    if (getThreadDescription == nullptr || FAILED(getThreadDescription(thread, &description)))
        return {};
    const std::string name = boost::nowide::narrow(description);
    LocalFree(description);
    return name;
}

std::vector<DWORD> threadIds()
{
    std::vector<DWORD> ids;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL isThere = Thread32First(snapshot, &entry); isThere != FALSE;
         isThere = Thread32Next(snapshot, &entry))
        if (entry.th32OwnerProcessID == GetCurrentProcessId())
            ids.push_back(entry.th32ThreadID);
    CloseHandle(snapshot);
    return ids;
}

} // namespace

std::vector<std::string> threadNames()
{
    std::vector<std::string> names;
    for (const DWORD id : threadIds()) {
        const HANDLE thread = OpenThread(THREAD_QUERY_LIMITED_INFORMATION, FALSE, id);
        if (thread == nullptr)
            continue; // it has ended
        names.push_back(nameOf(thread));
        CloseHandle(thread);
    }
    return names;
}

std::size_t threadCount()
{
    return threadIds().size();
}

std::string currentThreadName()
{
    return nameOf(GetCurrentThread());
}

std::size_t residentBytes()
{
    PROCESS_MEMORY_COUNTERS counters = {};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return counters.WorkingSetSize;
}

} // namespace Brennic::Testing
