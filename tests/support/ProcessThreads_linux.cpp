#include "support/ProcessThreads.h"

#include <array>
#include <filesystem>
#include <fstream>

#include <pthread.h>

namespace Brennic::Testing {

std::vector<std::string> threadNames()
{
    std::vector<std::string> names;
    std::error_code error; // a thread may end while its directory is read
    for (std::filesystem::directory_iterator entry("/proc/self/task", error), end; entry != end;
         entry.increment(error)) {
        std::string name;
        std::getline(std::ifstream(entry->path() / "comm"), name);
        if (!name.empty())
            names.push_back(name);
    }
    return names;
}

std::size_t threadCount()
{
    return threadNames().size();
}

std::string currentThreadName()
{
    std::array<char, 16> name{};
    pthread_getname_np(pthread_self(), name.data(), name.size());
    return name.data();
}

std::size_t residentBytes()
{
    constexpr std::size_t pageSize = 4096;
    std::size_t size = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * pageSize;
}

} // namespace Brennic::Testing
