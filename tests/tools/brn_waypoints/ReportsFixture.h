#pragma once
/// \file
/// Reports for the tests of brn_waypoints.

#include <string>

#include <QByteArray>
#include <QString>

#include <brn_waypoints/ReportReader.h>

namespace Brennic::Testing {

inline std::string waypointLine(const std::string& name, const std::string& frames,
                                const std::string& elapsed, const std::string& memory)
{
    return "    <Waypoint name=\"" + name + "\" frames=\"" + frames + "\" elapsed=\"" + elapsed +
           "\" memory=\"" + memory + "\"/>\n";
}

/// A report of these lines, the first of which is the file's fourth.
inline std::string reportOf(const std::string& lines)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Profiler>\n  <Waypoints>\n" + lines +
           "  </Waypoints>\n</Profiler>\n";
}

inline Waypoints::Report parsed(const std::string& xml, const QString& title = QStringLiteral("run.xml"))
{
    return Waypoints::parseReport(QByteArray::fromStdString(xml), title);
}

/// The report that the expected values of most tests are about.
inline std::string exampleReport()
{
    return reportOf(waypointLine("Load", "0", "1.5", "2097152") +
                    waypointLine("Smooth", "10", "2", "1048576") +
                    waypointLine("Smooth", "20", "0.5", "-524288") + waypointLine("END", "0", "0", "0"));
}

} // namespace Brennic::Testing
