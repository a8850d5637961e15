#include "ResidentMemory.h"

#include <fstream>

#include <unistd.h>

std::int64_t residentMemoryInBytes()
{
    std::int64_t totalPages = 0;
    std::int64_t residentPages = 0;
    std::ifstream("/proc/self/statm") >> totalPages >> residentPages;
    return residentPages * ::sysconf(_SC_PAGESIZE);
}
