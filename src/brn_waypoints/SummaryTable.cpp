#include <brn_waypoints/SummaryTable.h>

namespace Brennic::Waypoints {

namespace {

QString memoryText(std::int64_t bytes)
{
    constexpr double bytesPerMebibyte = 1048576.0;
    const QString number = QString::number(static_cast<double>(bytes) / bytesPerMebibyte, 'f', 1);
    if (number == QLatin1String("-0.0"))
        return QStringLiteral("+0.0");
    return bytes < 0 ? number : QLatin1Char('+') + number;
}

} // namespace

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
