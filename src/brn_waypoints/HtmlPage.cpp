#include <brn_waypoints/Outputs.h>

#include <ostream>

#include <QByteArray>
#include <QXmlStreamWriter>

#include <brn_waypoints/BarChart.h>
#include <brn_waypoints/Summary.h>

namespace Brennic::Waypoints {

namespace {

// Without characters that HTML would have escaped. On a narrow page the numbers of a row stand below its name.
const char* const style = R"(
:root { color-scheme: light dark; --page: #ffffff; --text: #1f2328; --faint: #656d76; --line: #d8dee4; --head: #f6f8fa;
  --c0: #2a6fdb; --c1: #d9730d; --c2: #2f8f4e; --c3: #b83280; --c4: #7a5af8; --c5: #0e8a92; --c6: #a67c00; --c7: #c0392b; }
@media (prefers-color-scheme: dark) { :root { --page: #14171c; --text: #e4e7eb; --faint: #99a2ad; --line: #333a44; --head: #1c2128;
  --c0: #6ea8ff; --c1: #f2a154; --c2: #65c486; --c3: #ec7fbb; --c4: #a996ff; --c5: #55c5cc; --c6: #dcb84a; --c7: #f0837a; } }
body { margin: 0 auto; max-width: 960px; padding: 24px; background: var(--page); color: var(--text); font: 15px/1.5 system-ui, sans-serif; }
h1 { font-size: 24px; margin: 0 0 16px; }
h2 { font-size: 17px; margin: 32px 0 4px; overflow-wrap: anywhere; }
p { margin: 0 0 8px; color: var(--faint); }
ul { display: flex; flex-wrap: wrap; gap: 4px 20px; list-style: none; margin: 0 0 12px; padding: 0; }
li { overflow-wrap: anywhere; }
.legend { width: 12px; height: 12px; margin-right: 7px; }
.chart { display: block; }
svg text { font: 12px system-ui, sans-serif; fill: var(--text); }
svg .tick { text-anchor: middle; fill: var(--faint); }
svg .first { text-anchor: start; }
svg .value { fill: var(--faint); }
svg line { stroke: var(--line); }
.series0 { fill: var(--c0); } .series1 { fill: var(--c1); } .series2 { fill: var(--c2); } .series3 { fill: var(--c3); }
.series4 { fill: var(--c4); } .series5 { fill: var(--c5); } .series6 { fill: var(--c6); } .series7 { fill: var(--c7); }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
th, td { padding: 5px 10px; text-align: right; border-bottom: 1px solid var(--line); white-space: nowrap; }
th:first-child, td:first-child { text-align: left; white-space: normal; overflow-wrap: anywhere; }
thead th { background: var(--head); font-weight: 600; }
tr:last-child td { font-weight: 600; border-bottom: none; }
@media (max-width: 600px) {
body { padding: 16px; }
table, thead, tbody { display: block; font-size: 14px; }
tr { display: grid; grid-template-columns: 3fr 4fr 4fr 4fr 6fr; padding: 5px 0; border-bottom: 1px solid var(--line); }
tr:last-child { border-bottom: none; }
thead tr, thead th { background: var(--head); }
th, td { padding: 1px 4px; border-bottom: none; }
th:first-child, td:first-child { grid-column: 1 / -1; }
}
)";

void writeHead(QXmlStreamWriter& out)
{
    out.writeStartElement(QStringLiteral("head"));
    out.writeEmptyElement(QStringLiteral("meta"));
    out.writeAttribute(QStringLiteral("charset"), QStringLiteral("utf-8"));
    out.writeEmptyElement(QStringLiteral("meta"));
    out.writeAttribute(QStringLiteral("name"), QStringLiteral("viewport"));
    out.writeAttribute(QStringLiteral("content"), QStringLiteral("width=device-width"));
    out.writeTextElement(QStringLiteral("title"), QStringLiteral("Waypoints"));
    out.writeTextElement(QStringLiteral("style"), QLatin1String(style));
    out.writeEndElement();
}

void writeColour(QXmlStreamWriter& out, std::size_t report)
{
    out.writeStartElement(QStringLiteral("svg"));
    out.writeAttribute(QStringLiteral("xmlns"), QStringLiteral("http://www.w3.org/2000/svg"));
    out.writeAttribute(QStringLiteral("class"), QStringLiteral("legend"));
    out.writeAttribute(QStringLiteral("viewBox"), QStringLiteral("0 0 12 12"));
    out.writeEmptyElement(QStringLiteral("rect"));
    out.writeAttribute(QStringLiteral("class"), BarChart::seriesClass(report));
    out.writeAttribute(QStringLiteral("width"), QStringLiteral("12"));
    out.writeAttribute(QStringLiteral("height"), QStringLiteral("12"));
    out.writeAttribute(QStringLiteral("rx"), QStringLiteral("2"));
    out.writeEndElement();
}

void writeLegend(QXmlStreamWriter& out, const std::vector<Report>& reports)
{
    out.writeStartElement(QStringLiteral("ul"));
    for (std::size_t i = 0; i < reports.size(); ++i) {
        out.writeStartElement(QStringLiteral("li"));
        writeColour(out, i);
        out.writeCharacters(reports[i].title);
        out.writeEndElement();
    }
    out.writeEndElement();
}

void writeRow(QXmlStreamWriter& out, const QString& cellName, const QStringList& cells)
{
    out.writeStartElement(QStringLiteral("tr"));
    for (const QString& cell : cells) {
        out.writeStartElement(cellName);
        out.writeCharacters(cell);
        out.writeEndElement();
    }
    out.writeEndElement();
}

void writeTable(QXmlStreamWriter& out, const Summary& summary)
{
    out.writeStartElement(QStringLiteral("table"));
    out.writeStartElement(QStringLiteral("thead"));
    writeRow(out, QStringLiteral("th"), summaryHeadings());
    out.writeEndElement();
    out.writeStartElement(QStringLiteral("tbody"));
    for (const QStringList& cells : summaryTable(summary))
        writeRow(out, QStringLiteral("td"), cells);
    out.writeEndElement();
    out.writeEndElement();
}

void writeReport(QXmlStreamWriter& out, const Report& report, const Summary& summary)
{
    out.writeTextElement(QStringLiteral("h2"), report.title);
    if (!report.product.isEmpty())
        out.writeTextElement(QStringLiteral("p"), report.product);
    writeTable(out, summary);
}

void writeBody(QXmlStreamWriter& out, const std::vector<Report>& reports)
{
    const std::vector<Summary> summaries(reports.begin(), reports.end());
    out.writeStartElement(QStringLiteral("body"));
    out.writeTextElement(QStringLiteral("h1"), QStringLiteral("Waypoints"));
    writeLegend(out, reports);
    BarChart(summaries).write(out);
    for (std::size_t i = 0; i < reports.size(); ++i)
        writeReport(out, reports[i], summaries[i]);
    out.writeEndElement();
}

} // namespace

void writeHtmlPage(const std::vector<Report>& reports, std::ostream& out)
{
    QByteArray page;
    QXmlStreamWriter writer(&page);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(1);
    writer.writeStartElement(QStringLiteral("html"));
    writer.writeAttribute(QStringLiteral("lang"), QStringLiteral("en"));
    writeHead(writer);
    writeBody(writer, reports);
    writer.writeEndElement();
    out << "<!DOCTYPE html>\n" << page.trimmed().constData() << '\n';
}

} // namespace Brennic::Waypoints
