#include "Options.h"

#include <vector>

#include <CLI/CLI.hpp>

#include "Crash.h"

namespace {

std::string joined(const std::vector<std::string>& words)
{
    return CLI::detail::join(words, ", ");
}

void declare(CLI::App& app, Options& options)
{
    app.set_version_flag("--version", "mesh_smoother " MESH_SMOOTHER_VERSION);
    declareMeshOptions(app, options)->required();
    declareLogOptions(app, options);
    app.add_option("--crash", options.crash,
                   "Crash on purpose in the middle of smoothing: " + joined(crashKinds()))
        ->check(CLI::IsMember(crashKinds()).description(""))
        ->type_name("KIND");
    declareReportOption(app, options);
}

} // namespace

std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitCode)
{
    CLI::App app("Smooths a triangle mesh (Taubin: it does not shrink) and reports how long each stage took.",
                 "mesh_smoother");
    Options options;
    declare(app, options);
    try {
        app.parse(argc, argv);
        completeRunOptions(options);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? exitDone : exitWrongUsage;
        return std::nullopt;
    }
    options.midway = [kind = options.crash] { crashOnPurpose(kind); };
    return options;
}
