#include <brn_waypoints/Outputs.h>

#include <algorithm>
#include <cmath>
#include <ostream>

#include <QJsonDocument>
#include <QJsonObject>

namespace Brennic::Waypoints {

namespace {

constexpr double microsecondsPerSecond = 1e6;
constexpr int waypointTrack = 1;

double microseconds(double seconds)
{
    return std::round(seconds * microsecondsPerSecond);
}

bool hasFrames(const Report& report)
{
    return std::any_of(report.waypoints.begin(), report.waypoints.end(),
                       [](const Waypoint& waypoint) { return waypoint.frames != 0; });
}

// Writes each event when it is made: a report may have millions.
class TraceWriter
{
public:
    explicit TraceWriter(std::ostream& out) : m_out(out)
    {
        m_out << R"({"displayTimeUnit":"ms","traceEvents":[)";
    }

    void finish() { m_out << "\n]}\n"; }

    void write(const Report& report)
    {
        ++m_process;
        writeName("process_name", report.title);
        writeName("thread_name", QStringLiteral("waypoints"));
        writeWaypoints(report);
    }

private:
    void writeWaypoints(const Report& report)
    {
        const bool withFrames = hasFrames(report);
        double start = 0;
        std::int64_t memory = 0;
        writeCounter("memory", 0, "bytes", 0);
        for (const Waypoint& waypoint : report.waypoints) {
            const double duration = std::max(waypoint.seconds, 0.0);
            writeComplete(waypoint, start, duration);
            if (withFrames)
                writeCounter("frames per second", start, "frames",
                             duration > 0 ? static_cast<double>(waypoint.frames) / duration : 0);
            start += duration;
            memory += waypoint.memory;
            writeCounter("memory", start, "bytes", static_cast<double>(memory));
        }
        if (withFrames)
            writeCounter("frames per second", start, "frames", 0);
    }

    void writeName(const char* kind, const QString& name)
    {
        writeEvent({{QStringLiteral("name"), QLatin1String(kind)},
                    {QStringLiteral("ph"), QStringLiteral("M")},
                    {QStringLiteral("args"), QJsonObject{{QStringLiteral("name"), name}}}});
    }

    void writeComplete(const Waypoint& waypoint, double start, double duration)
    {
        writeEvent({{QStringLiteral("name"), waypoint.name},
                    {QStringLiteral("cat"), QStringLiteral("waypoint")},
                    {QStringLiteral("ph"), QStringLiteral("X")},
                    {QStringLiteral("ts"), microseconds(start)},
                    {QStringLiteral("dur"), microseconds(duration)},
                    {QStringLiteral("args"),
                     QJsonObject{{QStringLiteral("frames"), static_cast<double>(waypoint.frames)},
                                 {QStringLiteral("memory"), static_cast<double>(waypoint.memory)}}}});
    }

    void writeCounter(const char* name, double time, const char* series, double value)
    {
        writeEvent({{QStringLiteral("name"), QLatin1String(name)},
                    {QStringLiteral("ph"), QStringLiteral("C")},
                    {QStringLiteral("ts"), microseconds(time)},
                    {QStringLiteral("args"), QJsonObject{{QLatin1String(series), value}}}});
    }

    void writeEvent(QJsonObject event)
    {
        event[QStringLiteral("pid")] = m_process;
        event[QStringLiteral("tid")] = waypointTrack;
        m_out << (m_isFirst ? "\n" : ",\n")
              << QJsonDocument(event).toJson(QJsonDocument::Compact).constData();
        m_isFirst = false;
    }

    std::ostream& m_out;
    int m_process = 0;
    bool m_isFirst = true;
};

} // namespace

void writeChromeTrace(const std::vector<Report>& reports, std::ostream& out)
{
    TraceWriter writer(out);
    for (const Report& report : reports)
        writer.write(report);
    writer.finish();
}

} // namespace Brennic::Waypoints
