// The reader of waypoint reports, and what is made of a report: the table, the trace, the page.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <QByteArray>
#include <QString>

#include <brn_waypoints/Outputs.h>
#include <brn_waypoints/ReportReader.h>
#include <brn_waypoints/Summary.h>
#include <brn_waypoints/TextTable.h>

#include "PlantedFault.h"

using namespace Brennic;

namespace {

void show(const Waypoints::Report& report)
{
    const Waypoints::Summary summary(report);
    Waypoints::TextTable table(Waypoints::summaryHeadings());
    for (const QStringList& cells : Waypoints::summaryTable(summary))
        table.addRow(cells);
    for (const QChar character : table.text())
        Fuzz::require(character == QLatin1Char('\n') || character.category() != QChar::Other_Control,
                      "no control character of a name is printed");
    std::ostringstream out;
    Waypoints::writeChromeTrace({report, report}, out);
    Waypoints::writeHtmlPage({report}, out);
    Fuzz::plantFault(summary.rows().size() == 3);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        show(Waypoints::parseReport({reinterpret_cast<const char*>(data), static_cast<int>(size)},
                                    QStringLiteral("report")));
    } catch (const std::runtime_error&) {
    }
    return 0;
}
