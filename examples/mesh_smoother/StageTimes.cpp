#include "StageTimes.h"

#include <array>
#include <cstdio>
#include <iostream>

void StageTimes::stageDone(const std::string& stage)
{
    const std::chrono::duration<double> taken = Clock::now() - m_stageStart;
    m_stageStart = Clock::now();
    std::array<char, 64> line{};
    std::snprintf(line.data(), line.size(), "%-10s %8.3f s", stage.c_str(), taken.count());
    std::cout << line.data() << std::endl;
}
