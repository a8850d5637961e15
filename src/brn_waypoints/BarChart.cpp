#include <brn_waypoints/BarChart.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include <QHash>
#include <QXmlStreamWriter>

#include <brn_console/DisplayWidth.h>

namespace Brennic::Waypoints {

namespace {

constexpr std::size_t maxGroups = 40;
constexpr int maxLabelWidth = 46; // what the narrowest pages have room for
constexpr double barRoom = 80;    // of the longest bar, in percent of the width; its value stands behind it
constexpr double thinnest = 0.2;  // in percent too
constexpr double axisHeight = 28;
constexpr double labelHeight = 19;
constexpr double barHeight = 16;
constexpr double barPitch = 18;
constexpr double groupGap = 10;
constexpr double textBaseline = 12.5; // of a bar's text, from its top

QString number(double value)
{
    return QString::number(value, 'f', 2);
}

// Lengths and places from left to right are parts of the width: the chart is as wide as the page, and its texts keep
// their size.
QString percents(double part)
{
    return number(part) + QLatin1Char('%');
}

// 1, 2 or 5 times a power of ten, so that there are five lines or so.
double niceStep(double longest)
{
    constexpr double wantedSteps = 5;
    const double rough = longest / wantedSteps;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (rough <= factor * power)
            return factor * power;
    return 10 * power;
}

QString label(const QString& name)
{
    if (Core::displayWidth(name) <= maxLabelWidth)
        return name;
    return Core::cutToWidth(name, maxLabelWidth - 1) + QChar(0x2026);
}

void writeText(QXmlStreamWriter& out, const char* kind, double x, double y, const QString& text)
{
    out.writeStartElement(QStringLiteral("text"));
    out.writeAttribute(QStringLiteral("class"), QLatin1String(kind));
    out.writeAttribute(QStringLiteral("x"), percents(x));
    out.writeAttribute(QStringLiteral("y"), number(y));
    if (QLatin1String(kind) == QLatin1String("value"))
        out.writeAttribute(QStringLiteral("dx"), QStringLiteral("6")); // behind the end of its bar
    out.writeCharacters(text);
    out.writeEndElement();
}

void writeGridLine(QXmlStreamWriter& out, double x, double bottom)
{
    out.writeEmptyElement(QStringLiteral("line"));
    out.writeAttribute(QStringLiteral("x1"), percents(x));
    out.writeAttribute(QStringLiteral("x2"), percents(x));
    out.writeAttribute(QStringLiteral("y1"), number(axisHeight - 4));
    out.writeAttribute(QStringLiteral("y2"), number(bottom));
}

void writeBar(QXmlStreamWriter& out, const QString& kind, double top, double length, const QString& title)
{
    out.writeStartElement(QStringLiteral("rect"));
    out.writeAttribute(QStringLiteral("class"), kind);
    out.writeAttribute(QStringLiteral("x"), percents(0));
    out.writeAttribute(QStringLiteral("y"), number(top));
    out.writeAttribute(QStringLiteral("width"), percents(std::max(length, thinnest)));
    out.writeAttribute(QStringLiteral("height"), number(barHeight));
    out.writeAttribute(QStringLiteral("rx"), QStringLiteral("2"));
    out.writeTextElement(QStringLiteral("title"), title);
    out.writeEndElement();
}

} // namespace

double BarChart::Group::longest() const
{
    return std::max_element(seconds.begin(), seconds.end())->value_or(0);
}

void BarChart::Group::add(const Group& other)
{
    for (std::size_t report = 0; report < seconds.size(); ++report)
        if (other.seconds[report])
            seconds[report] = seconds[report].value_or(0) + *other.seconds[report];
}

BarChart::BarChart(const std::vector<Summary>& summaries) : m_reportCount(summaries.size())
{
    for (std::size_t report = 0; report < summaries.size(); ++report)
        addTimes(summaries[report], report);
    if (m_groups.size() > maxGroups)
        foldSmallest();
}

void BarChart::addTimes(const Summary& summary, std::size_t report)
{
    QHash<QString, std::size_t> places;
    for (const Group& group : m_groups)
        places.insert(group.name, static_cast<std::size_t>(places.size()));
    for (const SummaryRow& row : summary.rows()) {
        const std::size_t place = places.value(row.name, m_groups.size());
        if (place == m_groups.size())
            m_groups.push_back({row.name, std::vector<std::optional<double>>(m_reportCount)});
        m_groups[place].seconds[report] = row.seconds;
    }
}

void BarChart::foldSmallest()
{
    std::vector<double> times;
    for (const Group& group : m_groups)
        times.push_back(group.longest());
    std::vector<std::size_t> order(m_groups.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return times[a] > times[b]; });
    std::sort(order.begin(), order.begin() + maxGroups);
    std::vector<Group> kept;
    for (std::size_t i = 0; i < maxGroups; ++i)
        kept.push_back(m_groups[order[i]]);
    Group others{QString::number(m_groups.size() - maxGroups) + QLatin1String(" others"),
                 std::vector<std::optional<double>>(m_reportCount)};
    for (std::size_t i = maxGroups; i < order.size(); ++i)
        others.add(m_groups[order[i]]);
    kept.push_back(std::move(others));
    m_groups = std::move(kept);
}

double BarChart::longest() const
{
    double longest = 0;
    for (const Group& group : m_groups)
        longest = std::max(longest, group.longest());
    return longest > 0 ? longest : 1;
}

double BarChart::groupHeight() const
{
    return labelHeight + static_cast<double>(m_reportCount) * barPitch + groupGap;
}

double BarChart::height() const
{
    return axisHeight + static_cast<double>(m_groups.size()) * groupHeight();
}

QString BarChart::seriesClass(std::size_t report)
{
    return QLatin1String("series") + QString::number(report % seriesCount);
}

void BarChart::write(QXmlStreamWriter& out) const
{
    const double percentPerSecond = barRoom / longest();
    out.writeStartElement(QStringLiteral("svg"));
    out.writeAttribute(QStringLiteral("xmlns"), QStringLiteral("http://www.w3.org/2000/svg"));
    out.writeAttribute(QStringLiteral("class"), QStringLiteral("chart"));
    out.writeAttribute(QStringLiteral("width"), percents(100));
    out.writeAttribute(QStringLiteral("height"), number(height()));
    out.writeAttribute(QStringLiteral("role"), QStringLiteral("img"));
    out.writeAttribute(QStringLiteral("aria-label"), QStringLiteral("Seconds for each waypoint name"));
    writeAxis(out, niceStep(longest()), percentPerSecond);
    double top = axisHeight + groupGap / 2;
    for (const Group& group : m_groups) {
        writeGroup(out, group, top, percentPerSecond);
        top += groupHeight();
    }
    out.writeEndElement();
}

void BarChart::writeAxis(QXmlStreamWriter& out, double step, double percentPerSecond) const
{
    const auto count = static_cast<int>(std::floor(longest() / step + 1e-9));
    for (int i = 0; i <= count; ++i) {
        const double x = i * step * percentPerSecond;
        writeGridLine(out, x, height());
        writeText(out, i == 0 ? "tick first" : "tick", x, axisHeight - 10,
                  QString::number(i * step, 'g', 6) + QLatin1String(" s"));
    }
}

void BarChart::writeGroup(QXmlStreamWriter& out, const Group& group, double top,
                          double percentPerSecond) const
{
    writeText(out, "name", 0, top + textBaseline, label(group.name));
    for (std::size_t report = 0; report < m_reportCount; ++report) {
        if (!group.seconds[report])
            continue;
        const double seconds = *group.seconds[report];
        const double y = top + labelHeight + static_cast<double>(report) * barPitch;
        const double length = std::max(seconds, 0.0) * percentPerSecond;
        const QString text = secondsText(seconds) + QLatin1String(" s");
        writeBar(out, seriesClass(report), y, length, group.name + QLatin1String(": ") + text);
        writeText(out, "value", length, y + textBaseline, text);
    }
}

} // namespace Brennic::Waypoints
