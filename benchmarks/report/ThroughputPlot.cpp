#include "report/ThroughputPlot.h"

#include <algorithm>
#include <cmath>

#include <QPointF>

namespace {

constexpr double left = 70;
constexpr double right = 530;
constexpr double top = 50;
constexpr double bottom = 360;
constexpr double legendLineHeight = 24;

// Of middling lightness, so that they stand out from white and from black.
constexpr const char* colours[] = {"#d9483b", "#3f8fd2", "#2f9e62", "#b7862b",
                                   "#9a6fc4", "#7d8a94", "#c2608f"};
constexpr const char* dashes[] = {"none", "7 3", "2 3", "10 3 2 3", "5 5", "12 4", "1 5"};
constexpr int styleCount = 7;

struct Line
{
    QString name;
    std::vector<double> perSecond; // by column
};

struct Lines
{
    QStringList columns;
    std::vector<Line> lines;
    double lowest = 1e300; // powers of ten around all of them
    double highest = 0;
};

Lines linesOf(const std::vector<Cell>& cells)
{
    Lines result;
    for (const Cell& cell : cells) {
        if (!result.columns.contains(cell.column))
            result.columns << cell.column;
        if (result.lines.empty() || result.lines.back().name != cell.row)
            result.lines.push_back({cell.row, {}});
        const double perSecond = 1 / cell.seconds.median;
        result.lines.back().perSecond.push_back(perSecond);
        result.lowest = std::min(result.lowest, std::pow(10, std::floor(std::log10(perSecond))));
        result.highest = std::max(result.highest, std::pow(10, std::ceil(std::log10(perSecond))));
    }
    return result;
}

double xOf(const Lines& lines, int column)
{
    return left + (right - left) * column / std::max(1, static_cast<int>(lines.columns.size()) - 1);
}

double yOf(const Lines& lines, double perSecond)
{
    return bottom -
           (bottom - top) * std::log10(perSecond / lines.lowest) / std::log10(lines.highest / lines.lowest);
}

QString number(double value)
{
    return QString::number(value, 'f', 1);
}

QString text(double x, double y, const char* anchor, const QString& content)
{
    return QString("<text x=\"%1\" y=\"%2\" text-anchor=\"%3\">%4</text>\n")
        .arg(number(x), number(y), QString(anchor), content.toHtmlEscaped());
}

QString gridLine(double x1, double y1, double x2, double y2)
{
    return QString("<line class=\"grid\" x1=\"%1\" y1=\"%2\" x2=\"%3\" y2=\"%4\"/>\n")
        .arg(number(x1), number(y1), number(x2), number(y2));
}

QString countText(double perSecond)
{
    return perSecond >= 1e6 ? QString::number(perSecond / 1e6) + " M"
                            : QString::number(perSecond / 1e3) + " k";
}

QString axes(const Lines& lines)
{
    QString svg;
    for (double tick = lines.lowest; tick <= lines.highest * 1.001; tick *= 10) {
        const double y = yOf(lines, tick);
        svg += gridLine(left, y, right, y) + text(left - 8, y + 4, "end", countText(tick));
    }
    for (int column = 0; column < lines.columns.size(); ++column) {
        const double x = xOf(lines, column);
        svg += gridLine(x, top, x, bottom) +
               text(x, bottom + 20, "middle", lines.columns[column].section(' ', 0, 0));
    }
    svg += text((left + right) / 2, bottom + 42, "middle", "workers");
    return svg;
}

QString stroke(int index)
{
    return QString("stroke=\"%1\" stroke-dasharray=\"%2\" stroke-width=\"%3\"")
        .arg(colours[index % styleCount], dashes[index % styleCount], index == 0 ? "3" : "2");
}

QString curve(const Lines& lines, int index)
{
    const Line& line = lines.lines[static_cast<std::size_t>(index)];
    QString points;
    QString dots;
    int column = 0;
    for (const double perSecond : line.perSecond) {
        const QString x = number(xOf(lines, column++));
        const QString y = number(yOf(lines, perSecond));
        points += x + ',' + y + ' ';
        dots += QString("<circle cx=\"%1\" cy=\"%2\" r=\"3.5\" fill=\"%3\"/>\n")
                    .arg(x, y, colours[index % styleCount]);
    }
    return QString("<polyline fill=\"none\" %1 points=\"%2\"/>\n").arg(stroke(index), points.trimmed()) +
           dots;
}

QString legendEntry(const Lines& lines, int index)
{
    const double y = top + legendLineHeight * (index + 0.5);
    return QString("<line x1=\"%1\" y1=\"%2\" x2=\"%3\" y2=\"%2\" %4/>\n")
               .arg(number(right + 25), number(y), number(right + 60), stroke(index)) +
           text(right + 68, y + 4, "start", lines.lines[static_cast<std::size_t>(index)].name);
}

constexpr const char* head =
    R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 720 420" width="720" height="420">
<style>
text { font: 13px sans-serif; fill: #24292f; }
.grid { stroke: #24292f; stroke-opacity: 0.2; }
@media (prefers-color-scheme: dark) { text { fill: #d8dee4; } .grid { stroke: #d8dee4; } }
</style>
)";

} // namespace

QString throughputPlot(const std::vector<Cell>& cells, const QString& title)
{
    const Lines lines = linesOf(cells);
    QString svg = head + text(left, 26, "start", title) + axes(lines);
    for (int i = 0; i < static_cast<int>(lines.lines.size()); ++i)
        svg += curve(lines, i) + legendEntry(lines, i);
    return svg + "</svg>\n";
}
