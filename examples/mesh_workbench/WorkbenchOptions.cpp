#include "WorkbenchOptions.h"

#include <string>

#include <CLI/CLI.hpp>

namespace {

constexpr const char* logWithoutMesh = "mesh_workbench.log";

void declare(CLI::App& app, WorkbenchOptions& options)
{
    app.set_version_flag("--version", "mesh_workbench " MESH_WORKBENCH_VERSION);
    CLI::Option* const input = declareMeshOptions(app, options);
    declareLogOptions(app, options);
    declareReportOption(app, options);
    app.add_option_function<std::string>(
           "--screenshot",
           [&options](const std::string& utf8) { options.screenshot = std::filesystem::u8path(utf8); },
           "Save a picture (PNG) of the window when the mesh is smoothed, and quit")
        ->needs(input)
        ->type_name("FILE");
}

void complete(WorkbenchOptions& options)
{
    if (!options.input.empty())
        completeRunOptions(options);
    else if (options.log.empty())
        options.log = logWithoutMesh;
}

} // namespace

std::optional<WorkbenchOptions> parseCommandLine(int argc, const char* const* argv, int& exitCode)
{
    CLI::App app("Smooths triangle meshes in the background of a window that shows progress, log and times.",
                 "mesh_workbench");
    WorkbenchOptions options;
    declare(app, options);
    try {
        app.parse(argc, argv);
        complete(options);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? exitDone : exitWrongUsage;
        return std::nullopt;
    }
    return options;
}
