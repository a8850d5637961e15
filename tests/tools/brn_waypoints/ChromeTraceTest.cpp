#include <brn_waypoints/Outputs.h>

#include <sstream>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

#include "tools/brn_waypoints/ReportsFixture.h"

using namespace Brennic::Testing;
using namespace Brennic::Waypoints;

namespace {

std::vector<QJsonObject> eventsOf(const std::vector<Report>& reports)
{
    std::ostringstream out;
    writeChromeTrace(reports, out);
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(out.str()));
    EXPECT_TRUE(document.isObject()) << out.str();
    std::vector<QJsonObject> events;
    for (const QJsonValue event : document.object()[QStringLiteral("traceEvents")].toArray())
        events.push_back(event.toObject());
    return events;
}

// "name|ts|dur|pid" of those of a phase; counters have their value for a duration.
std::vector<std::string> ofPhase(const std::vector<QJsonObject>& events, const char* phase)
{
    std::vector<std::string> found;
    for (const QJsonObject& event : events) {
        if (event[QStringLiteral("ph")].toString() != QLatin1String(phase))
            continue;
        const QJsonObject arguments = event[QStringLiteral("args")].toObject();
        const double last = event.contains(QStringLiteral("dur")) ? event[QStringLiteral("dur")].toDouble()
                                                                  : arguments.begin()->toDouble();
        found.push_back((event[QStringLiteral("name")].toString() + QLatin1Char('|') +
                         QString::number(event[QStringLiteral("ts")].toDouble(), 'f', 0) + QLatin1Char('|') +
                         QString::number(last, 'f', 0) + QLatin1Char('|') +
                         QString::number(event[QStringLiteral("pid")].toInt()))
                            .toStdString());
    }
    return found;
}

using Texts = std::vector<std::string>;

} // namespace

TEST(ChromeTrace, aWaypointIsACompleteEventInMicrosecondsAfterTheOneBefore)
{
    EXPECT_EQ(ofPhase(eventsOf({parsed(exampleReport())}), "X"),
              (Texts{"Load|0|1500000|1", "Smooth|1500000|2000000|1", "Smooth|3500000|500000|1",
                     "END|4000000|0|1"}));
}

TEST(ChromeTrace, countersShowTheMemorySinceTheBeginningAndTheFramesASecond)
{
    EXPECT_EQ(
        ofPhase(eventsOf({parsed(exampleReport())}), "C"),
        (Texts{"memory|0|0|1", "frames per second|0|0|1", "memory|1500000|2097152|1",
               "frames per second|1500000|5|1", "memory|3500000|3145728|1", "frames per second|3500000|40|1",
               "memory|4000000|2621440|1", "frames per second|4000000|0|1", "memory|4000000|2621440|1",
               "frames per second|4000000|0|1"}));
}

TEST(ChromeTrace, withoutFramesTheyHaveNoCounter)
{
    EXPECT_EQ(ofPhase(eventsOf({parsed(reportOf(waypointLine("a", "0", "1", "5")))}), "C"),
              (Texts{"memory|0|0|1", "memory|1000000|5|1"}));
}

TEST(ChromeTrace, everyReportHasATrackWithItsName)
{
    const Report second =
        parsed(reportOf(waypointLine("a", "0", "1", "0")), QStringLiteral("second \"x\".xml"));
    const std::vector<QJsonObject> events = eventsOf({parsed(exampleReport()), second});
    EXPECT_EQ(ofPhase(events, "X").back(), "a|0|1000000|2");
    std::vector<std::string> names;
    for (const QJsonObject& event : events)
        if (event[QStringLiteral("name")].toString() == QLatin1String("process_name"))
            names.push_back(
                event[QStringLiteral("args")].toObject()[QStringLiteral("name")].toString().toStdString());
    EXPECT_EQ(names, (Texts{"run.xml", "second \"x\".xml"}));
}

TEST(ChromeTrace, namesAreEscaped)
{
    const std::string line = waypointLine("a &quot;b&quot; \\ \xE7\xB6\xB2", "1", "1", "2");
    const std::vector<QJsonObject> events = eventsOf({parsed(reportOf(line))});
    EXPECT_EQ(ofPhase(events, "X"), (Texts{"a \"b\" \\ \xE7\xB6\xB2|0|1000000|1"}));
}

TEST(ChromeTrace, noReportsAndEmptyReportsAreTraces)
{
    EXPECT_TRUE(eventsOf({}).empty());
    EXPECT_TRUE(ofPhase(eventsOf({parsed("<Profiler/>")}), "X").empty());
}
