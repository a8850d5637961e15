#include "report/Results.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace {

double secondsPerUnit(const QString& unit)
{
    static const QMap<QString, double> units = {{"ns", 1e-9}, {"us", 1e-6}, {"ms", 1e-3}, {"s", 1}};
    return units.value(unit, std::nan(""));
}

// With the two values beside it where the quantile lies between them.
double quantile(const QVector<double>& sorted, double part)
{
    const double position = part * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<int>(position);
    const int above = std::min(below + 1, static_cast<int>(sorted.size()) - 1);
    return sorted[below] + (sorted[above] - sorted[below]) * (position - below);
}

Value summary(QVector<double> values)
{
    std::sort(values.begin(), values.end());
    const double median = quantile(values, 0.5);
    return {median, (quantile(values, 0.75) - quantile(values, 0.25)) / 2 / median};
}

// Without what Google Benchmark appends.
QString ownName(const QString& name)
{
    static const QRegularExpression appended(
        "/((iterations|min_time|repeats|threads):[^/]*|manual_time|real_time)");
    return QString(name).remove(appended);
}

// The table, the row and the column; empty if the benchmark is no cell.
QStringList cellName(const QString& name)
{
    const QStringList parts = name.split('/');
    return parts.size() == 3 ? parts : QStringList();
}

} // namespace

std::optional<Results> Results::read(const QString& path)
{
    QFile file(path);
    QJsonParseError error{};
    const QJsonObject whole = file.open(QIODevice::ReadOnly)
                                  ? QJsonDocument::fromJson(file.readAll(), &error).object()
                                  : QJsonObject();
    Results results;
    results.readBenchmarks(whole["benchmarks"].toArray());
    if (results.m_benchmarks.empty()) {
        std::fprintf(stderr, "%s: no results of a benchmark: %s\n", qPrintable(path),
                     qPrintable(file.isOpen() ? error.errorString() : file.errorString()));
        return {};
    }
    results.readContext(whole["context"].toObject());
    results.readComparison(whole["context"].toObject());
    return results;
}

void Results::readContext(const QJsonObject& context)
{
    m_program = QFileInfo(context["executable"].toString()).fileName().remove("_benchmark");
    m_qt = context["qt"].toString();
    m_compiler = context["compiler"].toString();
    m_cores = context["num_cpus"].toInt();
}

void Results::readBenchmarks(const QJsonArray& benchmarks)
{
    for (const QJsonValue& value : benchmarks) {
        const QJsonObject run = value.toObject();
        if (run["run_type"] != "iteration" || run["error_occurred"].toBool())
            continue;
        const QString name = ownName(run["run_name"].toString());
        const auto isSame = [&](const Benchmark& benchmark) { return benchmark.name == name; };
        auto found = std::find_if(m_benchmarks.begin(), m_benchmarks.end(), isSame);
        if (found == m_benchmarks.end())
            found = m_benchmarks.insert(found, {name, run["family_index"].toInt(), {}, {}});
        found->seconds << run["real_time"].toDouble() * secondsPerUnit(run["time_unit"].toString());
        if (run.contains("calls"))
            found->calls = run["calls"].toDouble();
    }
    std::stable_sort(m_benchmarks.begin(), m_benchmarks.end(),
                     [](const Benchmark& a, const Benchmark& b) { return a.family < b.family; });
}

void Results::readComparison(const QJsonObject& context)
{
    for (const QString& key : context.keys()) {
        const QStringList parts = context[key].toString().split('|');
        if (key.startsWith("ratio ") && parts.size() == 5)
            addRatio(parts);
        if (key.startsWith("figure ") && parts.size() == 4)
            addFigure(parts);
    }
}

void Results::addRatio(const QStringList& parts)
{
    const std::optional<Value> ours = secondsOf(parts[1]);
    const std::optional<Value> peer = secondsOf(parts[2]);
    const std::optional<Value> apart = secondsOf(parts[4]);
    if (!ours || !peer || apart.has_value() != !parts[4].isEmpty())
        return; // left out by a filter
    const double time = ours->median - (apart ? apart->median : 0);
    const QStringList names = parts[0].split(" / ");
    m_comparison.push_back({names.first(), names.mid(1).join(" / "), parts[3].toDouble(),
                            Value{time / peer->median, ours->spread + peer->spread}, QString()});
}

void Results::addFigure(const QStringList& parts)
{
    m_comparison.push_back(
        {parts[0], QString(), parts[2].toDouble(), Value{parts[1].toDouble(), 0}, parts[3]});
}

std::optional<Value> Results::secondsOf(const QString& name) const
{
    for (const Benchmark& benchmark : m_benchmarks)
        if (benchmark.name == name)
            return summary(benchmark.seconds);
    return {};
}

QStringList Results::tables() const
{
    QStringList tables;
    for (const Benchmark& benchmark : m_benchmarks) {
        const QStringList name = cellName(benchmark.name);
        if (!name.isEmpty() && !tables.contains(name[0]))
            tables << name[0];
    }
    return tables;
}

std::vector<Cell> Results::cells(const QString& table) const
{
    std::vector<Cell> cells;
    for (const Benchmark& benchmark : m_benchmarks) {
        const QStringList name = cellName(benchmark.name);
        if (!name.isEmpty() && name[0] == table)
            cells.push_back({name[1], name[2], summary(benchmark.seconds), benchmark.calls});
    }
    return cells;
}
