#include "report/MarkdownTable.h"

#include <algorithm>
#include <cmath>

namespace {

struct Unit
{
    QString name;
    double perSecond;
};

Unit unitFor(const std::vector<Cell>& cells)
{
    double largest = 0;
    for (const Cell& cell : cells)
        largest = std::max(largest, cell.seconds.median);
    if (largest < 1e-7)
        return {"ns", 1e9};
    return largest < 1e-3 ? Unit{"µs", 1e6} : Unit{"ms", 1e3};
}

// Three digits that count, and no more than three behind the point.
QString rounded(double value)
{
    const int digitsInFront = value < 0.1 ? 0 : static_cast<int>(std::floor(std::log10(value))) + 1;
    return QString::number(value, 'f', std::clamp(3 - digitsInFront, 0, 3));
}

QString percents(double part)
{
    return QString::number(std::round(part * 100)) + " %";
}

QString line(const QStringList& cells)
{
    return "| " + cells.join(" | ") + " |\n";
}

QString header(const QStringList& names)
{
    return line(names) + "|---|" + QString("---:|").repeated(static_cast<int>(names.size()) - 1) + '\n';
}

QStringList distinct(const std::vector<Cell>& cells, QString Cell::*name)
{
    QStringList names;
    for (const Cell& cell : cells)
        if (!names.contains(cell.*name))
            names << cell.*name;
    return names;
}

QString row(const QString& name, const QStringList& columns, const std::vector<Cell>& cells, const Unit& unit,
            bool countCalls)
{
    QMap<QString, QString> values;
    double spread = 0;
    QString calls;
    for (const Cell& cell : cells) {
        if (cell.row != name)
            continue;
        values[cell.column] = rounded(cell.seconds.median * unit.perSecond);
        spread = std::max(spread, cell.seconds.spread);
        calls = cell.calls ? QString::number(*cell.calls, 'f', 0) : calls;
    }
    QStringList texts{name};
    for (const QString& column : columns)
        texts << values.value(column);
    if (countCalls)
        texts << calls;
    return line(texts << percents(spread));
}

QString withUnit(double value, const QString& unit)
{
    return unit.isEmpty() ? QString::number(value, 'f', 2) : QString::number(value, 'f', 0) + ' ' + unit;
}

QString targetText(const ComparedValue& compared)
{
    if (compared.target == 0)
        return {};
    return compared.unit.isEmpty() ? QString::number(compared.target)
                                   : withUnit(compared.target, compared.unit);
}

} // namespace

QString markdownTable(const std::vector<Cell>& cells)
{
    const Unit unit = unitFor(cells);
    const QStringList columns = distinct(cells, &Cell::column);
    const bool countCalls =
        std::any_of(cells.begin(), cells.end(), [](const Cell& cell) { return cell.calls.has_value(); });
    QString text = header(QStringList{unit.name} + columns +
                          (countCalls ? QStringList{"calls", "spread"} : QStringList{"spread"}));
    for (const QString& name : distinct(cells, &Cell::row))
        text += row(name, columns, cells, unit, countCalls);
    return text;
}

QString markdownTable(const std::vector<ComparedValue>& comparison)
{
    QString text = "| what | beside | target | measured | spread |\n|---|---|---:|---:|---:|\n";
    for (const ComparedValue& compared : comparison)
        text += line({compared.what, compared.peer, targetText(compared),
                      withUnit(compared.measured.median, compared.unit),
                      compared.unit.isEmpty() ? percents(compared.measured.spread) : QString()});
    return text;
}
