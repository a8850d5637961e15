#include "RunOptions.h"

#include <map>
#include <system_error>

#include <CLI/CLI.hpp>
#include <QThread>

#include "MeshFormat.h"

namespace {

const std::map<std::string, Brennic::Core::EKvsLogLevel> logLevels = {
    {"trace", Brennic::Core::Trace}, {"debug", Brennic::Core::Debug}, {"info", Brennic::Core::Info},
    {"warn", Brennic::Core::Warn},   {"error", Brennic::Core::Error}, {"fatal", Brennic::Core::Fatal},
    {"off", Brennic::Core::Off}};

constexpr int maxThreads = 256;

std::string requireMeshFileName(const std::string& name)
{
    return isMeshFileName(std::filesystem::u8path(name))
               ? ""
               : name + " ends in none of .obj, .ply, .stl and .off";
}

CLI::Option* addPath(CLI::App& app, const std::string& name, std::filesystem::path& path,
                     const std::string& text)
{
    return app.add_option_function<std::string>(
        name, [&path](const std::string& utf8) { path = std::filesystem::u8path(utf8); }, text);
}

void declareSmoothing(CLI::App& app, RunOptions& options)
{
    app.add_option("--iterations", options.iterations, "How often to smooth")
        ->check(CLI::Range(0, maxIterations))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--subdivide", options.subdivisions,
                   "How often to split each triangle into four first (Loop)")
        ->check(CLI::Range(0, maxSubdivisions))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--threads", options.threads, "How many threads smooth [all cores]")
        ->check(CLI::Range(1, maxThreads))
        ->type_name("N");
}

std::filesystem::path besideOutput(const RunOptions& options, const std::string& ending)
{
    return options.output.parent_path() / (options.output.stem() += ending);
}

// By any link: of those that are there the file itself is compared, of others the name.
bool isSameFile(const std::filesystem::path& first, const std::filesystem::path& second)
{
    std::error_code error;
    if (std::filesystem::is_regular_file(first, error) && std::filesystem::equivalent(first, second, error))
        return true;
    return std::filesystem::weakly_canonical(first, error) ==
           std::filesystem::weakly_canonical(second, error);
}

void fillInDefaults(RunOptions& options)
{
    if (options.output.empty()) {
        options.output = options.input.stem() += "_smoothed";
        options.output += options.input.extension();
    }
    if (options.log.empty())
        options.log = besideOutput(options, ".log");
    if (options.report.empty())
        options.report = besideOutput(options, "_report.xml");
}

// The output may replace the input; any other pair would destroy one of the two.
void requireDifferentFiles(const RunOptions& options)
{
    if (isSameFile(options.log, options.input) || isSameFile(options.log, options.output))
        throw CLI::ValidationError("--log", "the log cannot be the mesh's file");
    if (isSameFile(options.report, options.input) || isSameFile(options.report, options.output))
        throw CLI::ValidationError("--report", "the report cannot be the mesh's file");
    if (isSameFile(options.report, options.log))
        throw CLI::ValidationError("--report", "the report cannot be the log's file");
}

} // namespace

CLI::Option* declareMeshOptions(CLI::App& app, RunOptions& options)
{
    options.threads = QThread::idealThreadCount();
    CLI::Option* const input =
        addPath(app, "INPUT", options.input, "Triangle mesh to smooth: .obj, .ply, .stl or .off");
    addPath(app, "--output", options.output,
            "Where to save it [INPUT's name with _smoothed, in this directory]")
        ->check(requireMeshFileName)
        ->type_name("FILE");
    declareSmoothing(app, options);
    return input;
}

void declareLogOptions(CLI::App& app, RunOptions& options)
{
    addPath(app, "--log", options.log, "Log file [beside the output]")->type_name("FILE");
    app.add_option_function<std::string>(
           "--log-level", [&options](const std::string& name) { options.logLevel = logLevels.at(name); },
           "trace, debug, info, warn, error, fatal or off [info]")
        ->transform(CLI::IsMember(logLevels, CLI::ignore_case).description(""))
        ->type_name("NAME");
    app.add_option("--log-pattern", options.logPattern, "log4cplus layout pattern of log lines")
        ->type_name("PATTERN");
}

void declareReportOption(CLI::App& app, RunOptions& options)
{
    addPath(app, "--report", options.report, "XML report of the run [beside the output]")->type_name("FILE");
}

void completeRunOptions(RunOptions& options)
{
    fillInDefaults(options);
    requireDifferentFiles(options);
}
