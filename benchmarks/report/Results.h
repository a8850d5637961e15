#pragma once
/// \file
/// What one benchmark program wrote with `--benchmark_out`: tables of times, ratios with their targets, and figures.
///
/// A benchmark that is named "table/row/column" is a cell of a table; all others are there for the ratios. A value is
/// the median of the repetitions, and its spread half the distance of their quartiles, as a part of the median.

#include <optional>
#include <vector>

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

struct Value
{
    double median = 0;
    double spread = 0;
};

struct Cell
{
    QString row;
    QString column;
    Value seconds;
    std::optional<double> calls; ///< of a receiver, where it counts them
};

struct ComparedValue
{
    QString what;
    QString peer;
    double target = 0; ///< 0 for information only
    Value measured;
    QString unit; ///< empty for a ratio
};

class Results
{
public:
    /// Reads a file; nothing if it holds no results. Says on standard error why.
    static std::optional<Results> read(const QString& path);

    /// The program without its folder and "_benchmark".
    QString program() const { return m_program; }
    QString qt() const { return m_qt; }
    QString compiler() const { return m_compiler; }
    int cores() const { return m_cores; }

    QStringList tables() const;
    std::vector<Cell> cells(const QString& table) const;
    std::vector<ComparedValue> comparison() const { return m_comparison; }

private:
    struct Benchmark
    {
        QString name;
        int family = 0;
        QVector<double> seconds;
        std::optional<double> calls;
    };

    void readContext(const class QJsonObject& context);
    void readBenchmarks(const class QJsonArray& benchmarks);
    void readComparison(const class QJsonObject& context);
    void addRatio(const QStringList& parts);
    void addFigure(const QStringList& parts);
    std::optional<Value> secondsOf(const QString& name) const;

    QString m_program;
    QString m_qt;
    QString m_compiler;
    int m_cores = 0;
    std::vector<Benchmark> m_benchmarks; // in the order of registration
    std::vector<ComparedValue> m_comparison;
};
