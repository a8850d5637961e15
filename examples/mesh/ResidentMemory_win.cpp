#include "ResidentMemory.h"

#include <windows.h>

#include <psapi.h>

std::int64_t residentMemoryInBytes()
{
    PROCESS_MEMORY_COUNTERS counters = {};
    const bool isKnown = K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)) != FALSE;
    return isKnown ? static_cast<std::int64_t>(counters.WorkingSetSize) : 0;
}
