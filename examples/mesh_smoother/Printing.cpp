#include "Printing.h"

#include <array>
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <ostream>

#include "WaypointFile.h"

namespace {

void printRow(const Waypoint& waypoint, std::ostream& out)
{
    constexpr double bytesPerMegabyte = 1048576.0;
    out << std::left << std::setw(12) << waypoint.name.toStdString() << std::right << std::setw(10)
        << waypoint.iterations << std::setw(10) << std::setprecision(3) << waypoint.seconds << std::setw(13)
        << std::showpos << std::setprecision(1) << waypoint.bytes / bytesPerMegabyte << std::noshowpos
        << '\n';
}

} // namespace

void StageTimes::stageDone(const std::string& stage)
{
    const std::chrono::duration<double> taken = Clock::now() - m_stageStart;
    m_stageStart = Clock::now();
    std::array<char, 64> line{};
    std::snprintf(line.data(), line.size(), "%-10s %8.3f s", stage.c_str(), taken.count());
    std::cout << line.data() << std::endl;
}

void printReportTable(const std::filesystem::path& report, std::ostream& out)
{
    const std::vector<Waypoint> waypoints = readLastRun(report);
    out << "waypoint      iterations   seconds  memory (MB)\n" << std::fixed;
    for (const Waypoint& waypoint : waypoints)
        printRow(waypoint, out);
    out << std::defaultfloat;
}
