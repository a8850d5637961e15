#include <brn_waypoints/Options.h>

#include <iostream>
#include <stdexcept>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>

namespace Brennic::Waypoints {

namespace {

namespace fs = std::filesystem;

void declare(CLI::App& app, Options& options)
{
    app.set_version_flag("--version", "brn_waypoints " BRN_WAYPOINTS_VERSION);
    app.footer("FILE - is the standard output, REPORT - the standard input.\n"
               "Without --trace and --html it prints a table.");
    app.add_option_function<std::vector<std::string>>(
           "REPORT",
           [&options](const std::vector<std::string>& names) {
               for (const std::string& name : names)
                   options.reports.push_back(fs::u8path(name));
           },
           "Reports that Kernel::SaveWaypointsToXml has written")
        ->required()
        ->type_name("");
    const auto addOutput = [&app](const std::string& name, fs::path& file, const std::string& text) {
        app.add_option_function<std::string>(
               name, [&file](const std::string& utf8) { file = fs::u8path(utf8); }, text)
            ->type_name("FILE");
    };
    addOutput("--trace", options.trace, "Write a trace for Perfetto or Chromium (JSON)");
    addOutput("--html", options.html, "Write a page with a chart and the numbers");
}

fs::path resolved(const fs::path& file)
{
    std::error_code error;
    return file == "-" ? file : fs::weakly_canonical(fs::absolute(file, error), error);
}

bool isSameFile(const fs::path& first, const fs::path& second)
{
    return !first.empty() && !second.empty() && resolved(first) == resolved(second);
}

void requireName(const CLI::App& app, const std::string& option, const fs::path& file)
{
    if (app.count(option) > 0 && file.empty())
        throw std::runtime_error(option + " needs the name of a file");
}

void requireDifferentFiles(const Options& options)
{
    if (isSameFile(options.trace, options.html))
        throw std::runtime_error("--trace and --html cannot be the same file");
    for (const fs::path& report : options.reports)
        for (const fs::path& output : {options.trace, options.html})
            if (output != "-" && isSameFile(report, output))
                throw std::runtime_error(output.u8string() + " is a report: it cannot be written to");
}

std::string oneLine(std::string text)
{
    const std::size_t end = text.find_last_not_of("\r\n ");
    text.resize(end == std::string::npos ? 0 : end + 1);
    for (char& character : text)
        if (character == '\n' || character == '\r')
            character = ' ';
    return text;
}

} // namespace

std::optional<Options> parseCommandLine(int argc, const char* const* argv)
{
    CLI::App app("Shows what waypoint reports say: as a table, as a trace, as a page.", "brn_waypoints");
    Options options;
    declare(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0)
            throw std::runtime_error(oneLine(error.what()) + " (--help tells more)");
        app.exit(error);
        return std::nullopt;
    }
    requireName(app, "--trace", options.trace);
    requireName(app, "--html", options.html);
    requireDifferentFiles(options);
    return options;
}

} // namespace Brennic::Waypoints
