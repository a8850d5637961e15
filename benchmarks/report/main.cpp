/// \file
/// benchmark_report DOCUMENT IMAGES RESULTS...: fills the marked regions of a page with what benchmark programs have
/// written, and draws the pictures of it into the folder IMAGES. A region without results stays as it is.

#include <cstdio>
#include <vector>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QSaveFile>

#include "report/MarkdownTable.h"
#include "report/MarkedDocument.h"
#include "report/Results.h"
#include "report/ThroughputPlot.h"

namespace {

using Regions = QMap<QString, QString>;

QString processorModel()
{
    QFile file("/proc/cpuinfo");
    if (!file.open(QIODevice::ReadOnly))
        return {};
    for (const QString& line : QString::fromUtf8(file.readAll()).split('\n'))
        if (line.startsWith("model name"))
            return line.section(": ", 1).simplified();
    return {};
}

QString machine(const std::vector<Results>& all)
{
    QStringList qts;
    for (const Results& results : all)
        if (!qts.contains("Qt " + results.qt()))
            qts << "Qt " + results.qt();
    const QString model = processorModel();
    return QString("%1 cores%2; %3; %4.\n")
        .arg(QString::number(all.front().cores()), model.isEmpty() ? QString() : " of " + model,
             all.front().compiler(), qts.join(" and "));
}

constexpr const char* plottedTable = "dispatch";

QString qtMajor(const Results& results)
{
    return results.qt().section('.', 0, 0);
}

QString plotName(const Results& results)
{
    return QString("%1-qt%2.svg").arg(plottedTable, qtMajor(results));
}

QString plotReference(const Results& results, const QString& folder)
{
    return QString("![Callables a second by number of workers, Qt %1](%2/%3)\n\n")
        .arg(qtMajor(results), folder, plotName(results));
}

Regions regionsOf(const std::vector<Results>& all, const QString& imageFolder)
{
    Regions regions{{"machine", machine(all)}};
    for (const Results& results : all) {
        for (const QString& table : results.tables())
            regions[table + ", Qt " + qtMajor(results)] =
                (table == plottedTable ? plotReference(results, imageFolder) : QString()) +
                markdownTable(results.cells(table));
        if (!results.comparison().empty())
            regions["ratios, " + results.program()] = markdownTable(results.comparison());
    }
    return regions;
}

bool fill(MarkedDocument& document, const Regions& regions)
{
    for (const QString& region : document.regions())
        if (!regions.contains(region))
            std::printf("No results for \"%s\", which stays as it is\n", qPrintable(region));
    for (auto region = regions.begin(); region != regions.end(); ++region)
        if (!document.fill(region.key(), region.value()))
            std::printf("No place for \"%s\"\n", qPrintable(region.key()));
    return document.save();
}

bool write(const QString& path, const QString& text)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit())
        return true;
    std::fprintf(stderr, "%s: %s\n", qPrintable(path), qPrintable(file.errorString()));
    return false;
}

bool draw(const std::vector<Results>& all, const QDir& images)
{
    for (const Results& results : all) {
        if (results.tables().contains(plottedTable) &&
            !write(images.filePath(plotName(results)),
                   throughputPlot(results.cells(plottedTable), "callables a second, Qt " + results.qt())))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 4) {
        std::fprintf(stderr, "usage: benchmark_report DOCUMENT IMAGES RESULTS...\n");
        return 1;
    }
    std::vector<Results> all;
    for (const QString& path : arguments.mid(3)) {
        const std::optional<Results> results = Results::read(path);
        if (!results)
            return 1;
        all.push_back(*results);
    }
    const QDir images(arguments[2]);
    const QDir pageFolder = QFileInfo(arguments[1]).absoluteDir();
    std::optional<MarkedDocument> document = MarkedDocument::read(arguments[1]);
    return document && draw(all, images) &&
                   fill(*document, regionsOf(all, pageFolder.relativeFilePath(images.absolutePath())))
               ? 0
               : 1;
}
