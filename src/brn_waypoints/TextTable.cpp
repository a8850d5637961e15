#include <brn_waypoints/TextTable.h>

#include <algorithm>

#include <brn_console/DisplayWidth.h>

namespace Brennic::Waypoints {

namespace {

constexpr int maxNameWidth = 60;

QString shortened(const QString& text)
{
    if (Core::displayWidth(text) <= maxNameWidth)
        return text;
    return Core::cutToWidth(text, maxNameWidth - 1) + QChar(0x2026);
}

QString blanks(int count)
{
    return {std::max(count, 0), QLatin1Char(' ')};
}

std::vector<int> columnWidths(const std::vector<QStringList>& rows)
{
    std::vector<int> widths(static_cast<std::size_t>(rows.front().size()), 0);
    for (const QStringList& row : rows)
        for (std::size_t column = 0; column < widths.size(); ++column)
            widths[column] = std::max(widths[column], Core::displayWidth(row[static_cast<int>(column)]));
    return widths;
}

QString line(const QStringList& cells, const std::vector<int>& widths)
{
    QString text = cells.front() + blanks(widths.front() - Core::displayWidth(cells.front()));
    for (std::size_t column = 1; column < widths.size(); ++column) {
        const QString& cell = cells[static_cast<int>(column)];
        text += blanks(widths[column] - Core::displayWidth(cell) + 2) + cell;
    }
    return text + QLatin1Char('\n');
}

} // namespace

TextTable::TextTable(const QStringList& headings) : m_rows({headings}) {}

void TextTable::addRow(const QStringList& cells)
{
    m_rows.push_back(cells);
    m_rows.back().front() = shortened(cells.front());
}

QString TextTable::text() const
{
    const std::vector<int> widths = columnWidths(m_rows);
    QString text;
    for (const QStringList& row : m_rows)
        text += line(row, widths);
    return text;
}

} // namespace Brennic::Waypoints
