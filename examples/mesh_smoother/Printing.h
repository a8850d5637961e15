#pragma once
/// \file
/// What the program prints for people.

#include <chrono>
#include <filesystem>
#include <iosfwd>
#include <string>

/// Prints how long each stage took, where no live line shows how far the run has come.
class StageTimes
{
public:
    /// Prints a line for the stage, which has taken the time since the one before.
    void stageDone(const std::string& stage);

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point m_stageStart = Clock::now();
};

/// Reads the XML report and prints its waypoints as a table.
/// Throws `std::runtime_error` if the file cannot be read.
void printReportTable(const std::filesystem::path& report, std::ostream& out);
