/// \file
/// Shows what waypoint reports say: as a table, as a trace, as a page.

#include <exception>
#include <iostream>
#include <new>
#include <ostream>
#include <vector>

#include <boost/nowide/args.hpp>

#include <brn_console/Terminal.h>
#include <brn_waypoints/Options.h>
#include <brn_waypoints/Outputs.h>
#include <brn_waypoints/ReportReader.h>
#include <brn_waypoints/Summary.h>
#include <brn_waypoints/TextTable.h>

namespace {

using namespace Brennic::Waypoints;

void printTable(const Report& report, std::ostream& out)
{
    TextTable table(summaryHeadings());
    for (const QStringList& cells : summaryTable(Summary(report)))
        table.addRow(cells);
    out << table.text().toStdString();
}

void printTables(const std::vector<Report>& reports, std::ostream& out)
{
    for (const Report& report : reports) {
        if (reports.size() > 1)
            out << (&report == &reports.front() ? "" : "\n") << report.title.toStdString() << ":\n";
        printTable(report, out);
    }
}

// Reads all reports before it writes anything, so that a bad report leaves no partial output.
void run(const Options& options)
{
    std::vector<Report> reports;
    for (const std::filesystem::path& file : options.reports)
        reports.push_back(readReport(file));
    if (!options.trace.empty())
        writeOutput(options.trace, [&](std::ostream& out) { writeChromeTrace(reports, out); });
    if (!options.html.empty())
        writeOutput(options.html, [&](std::ostream& out) { writeHtmlPage(reports, out); });
    if (options.trace.empty() && options.html.empty())
        writeOutput("-", [&](std::ostream& out) { printTables(reports, out); });
}

int fail(const char* message)
{
    std::cerr << "brn_waypoints: " << message << '\n';
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    const boost::nowide::args utf8Arguments(argc, argv);
    const Brennic::Core::Utf8Console console;
    try {
        if (const std::optional<Options> options = parseCommandLine(argc, argv))
            run(*options);
        return 0;
    } catch (const std::bad_alloc&) {
        return fail("there is not enough memory");
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
