#include "WaypointFile.h"

#include <stdexcept>
#include <string>

#include <QFile>
#include <QXmlStreamReader>

namespace {

Waypoint toWaypoint(const QXmlStreamAttributes& attributes)
{
    const auto value = [&attributes](const char* name) {
        return attributes.value(QLatin1String(name)).toString();
    };
    return {value("name"), value("frames").toInt(), value("elapsed").toDouble(), value("memory").toDouble()};
}

std::runtime_error readError(const std::filesystem::path& report, const QString& reason)
{
    return std::runtime_error("cannot read " + report.u8string() + ": " + reason.toStdString());
}

} // namespace

std::vector<Waypoint> readLastRun(const std::filesystem::path& report)
{
    QFile file(QString::fromStdString(report.u8string()));
    if (!file.open(QIODevice::ReadOnly))
        throw readError(report, file.errorString());
    std::vector<Waypoint> waypoints;
    QXmlStreamReader reader(&file);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement || reader.name() != QLatin1String("Waypoint"))
            continue;
        waypoints.push_back(toWaypoint(reader.attributes()));
        if (waypoints.back().name == QString::fromWCharArray(idleWaypoint))
            waypoints.clear();
    }
    if (reader.hasError())
        throw readError(report, reader.errorString());
    return waypoints;
}
