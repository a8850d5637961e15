#include <brn_mesh_kernel/library/StandardOutput.h>

#include <iostream>
#include <mutex>

namespace Brennic::Core {

void writeToStandardOutput(const std::string& text)
{
    static std::mutex& mutex = *new std::mutex; // never destroyed: records are logged late
    const std::lock_guard<std::mutex> lock(mutex);
    std::cout << text;
}

void drawOnStandardOutput(const std::string& text)
{
    writeToStandardOutput(text);
    std::cout.flush();
}

bool takeFirstLossOfStandardOutput()
{
    return false;
}

} // namespace Brennic::Core
