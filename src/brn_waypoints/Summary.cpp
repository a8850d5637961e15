#include <brn_waypoints/Summary.h>

#include <QHash>

namespace Brennic::Waypoints {

namespace {

void add(const Waypoint& waypoint, SummaryRow& row)
{
    ++row.count;
    row.seconds += waypoint.seconds;
    row.frames += waypoint.frames;
    row.memory += waypoint.memory;
}

QString memoryText(std::int64_t bytes)
{
    constexpr double bytesPerMebibyte = 1048576.0;
    const QString number = QString::number(static_cast<double>(bytes) / bytesPerMebibyte, 'f', 1);
    if (number == QLatin1String("-0.0"))
        return QStringLiteral("+0.0");
    return bytes < 0 ? number : QLatin1Char('+') + number;
}

} // namespace

Summary::Summary(const Report& report)
{
    QHash<QString, std::size_t> places;
    m_total.name = QStringLiteral("total");
    for (const Waypoint& waypoint : report.waypoints) {
        auto place = places.find(waypoint.name);
        if (place == places.end()) {
            place = places.insert(waypoint.name, m_rows.size());
            m_rows.emplace_back().name = waypoint.name;
        }
        add(waypoint, m_rows[place.value()]);
        add(waypoint, m_total);
    }
}

double Summary::share(const SummaryRow& row) const
{
    return m_total.seconds > 0 ? row.seconds / m_total.seconds : 0;
}

QStringList summaryHeadings()
{
    return {QStringLiteral("name"),  QStringLiteral("count"),  QStringLiteral("seconds"),
            QStringLiteral("share"), QStringLiteral("frames"), QStringLiteral("memory (MiB)")};
}

QStringList summaryCells(const Summary& summary, const SummaryRow& row)
{
    constexpr double percent = 100;
    return {row.name,
            QString::number(row.count),
            secondsText(row.seconds),
            QString::number(summary.share(row) * percent, 'f', 1) + QLatin1String(" %"),
            QString::number(row.frames),
            memoryText(row.memory)};
}

std::vector<QStringList> summaryTable(const Summary& summary)
{
    std::vector<QStringList> table;
    for (const SummaryRow& row : summary.rows())
        table.push_back(summaryCells(summary, row));
    table.push_back(summaryCells(summary, summary.total()));
    return table;
}

QString secondsText(double seconds)
{
    return QString::number(seconds, 'f', 3);
}

} // namespace Brennic::Waypoints
