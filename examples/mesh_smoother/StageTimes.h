#pragma once
/// \file
/// Prints how long each stage took, where no live line shows how far the run has come.

#include <chrono>
#include <string>

class StageTimes
{
public:
    /// Prints a line for the stage, which has taken the time since the one before.
    void stageDone(const std::string& stage);

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point m_stageStart = Clock::now();
};
