#include "Printing.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <ostream>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

namespace {

using boost::property_tree::ptree;

void printRow(const ptree& waypoint, std::ostream& out)
{
    constexpr double bytesPerMegabyte = 1048576.0;
    const ptree& attributes = waypoint.get_child("<xmlattr>");
    out << std::left << std::setw(12) << attributes.get<std::string>("name") << std::right << std::setw(10)
        << attributes.get<std::string>("frames") << std::setw(10) << std::setprecision(3)
        << attributes.get<double>("elapsed") << std::setw(13) << std::showpos << std::setprecision(1)
        << attributes.get<double>("memory") / bytesPerMegabyte << std::noshowpos << '\n';
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
    ptree tree;
    std::ifstream file(report);
    read_xml(file, tree);
    out << "waypoint      iterations   seconds  memory (MB)\n" << std::fixed;
    for (const auto& [name, waypoint] : tree.get_child("Profiler.Waypoints"))
        if (name == "Waypoint")
            printRow(waypoint, out);
    out << std::defaultfloat;
}
