/// \file
/// Smooths a triangle mesh, and shows on the way how a host uses the kernel.

#include <chrono>
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_common/Util.h>
#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>

#include "MeshFile.h"
#include "Options.h"
#include "ProcessSource.h"
#include "ReportTable.h"
#include "TaubinSmoother.h"

namespace {

using namespace Brennic;

std::wstring wide(const std::filesystem::path& path)
{
    return boost::nowide::widen(path.u8string());
}

void registerVersion()
{
    const std::wstring version = boost::nowide::widen(MESH_SMOOTHER_VERSION);
    Objects::Util::RegisterVersionInfo({L"", L"Mesh smoother", version, L"brn_mesh_kernel", version});
}

void startKernel(Core::Kernel& kernel, ProcessSource& source, const Options& options)
{
    registerVersion();
    kernel.SetLogFilePath(wide(options.log).c_str());
    kernel.SetLogLevel(options.logLevel);
    if (!options.logPattern.empty())
        kernel.SetLogMessageFormat(boost::nowide::widen(options.logPattern).c_str());
    kernel.SetProfilerSource(&source);
    kernel.Initialize();
}

// Found out before the work is done rather than after it.
void requireDirectoryOf(const std::filesystem::path& file)
{
    const std::filesystem::path directory = std::filesystem::absolute(file).parent_path();
    if (!std::filesystem::is_directory(directory))
        throw std::runtime_error("cannot save " + file.string() + ": there is no directory " +
                                 directory.string());
}

void smooth(Mesh& mesh, int iterations, ProcessSource& source)
{
    TaubinSmoother smoother(mesh);
    for (int i = 0; i < iterations; ++i) {
        smoother.iterate();
        source.countIteration();
    }
    smoother.apply(mesh);
}

void processMesh(Core::Kernel& kernel, ProcessSource& source, const Options& options)
{
    Mesh mesh = loadMesh(options.input);
    kernel.Logger()->Log(Core::Info, L"loaded %s: %zu vertices, %zu triangles", wide(options.input).c_str(),
                         mesh.n_vertices(), mesh.n_faces());
    kernel.ProfilerWaypoint(L"Load");
    smooth(mesh, options.iterations, source);
    kernel.Logger()->Log(Core::Info, L"smoothed in %d iterations", options.iterations);
    kernel.ProfilerWaypoint(L"Smooth");
    saveMesh(mesh, options.output);
    kernel.Logger()->Log(Core::Info, L"saved %s", wide(options.output).c_str());
    kernel.ProfilerWaypoint(L"Save");
}

void printResults(const Options& options)
{
    std::cout << "\nmesh    " << std::filesystem::absolute(options.output).string() << "\nlog     "
              << std::filesystem::absolute(options.log).string() << "\nreport  "
              << std::filesystem::absolute(options.report).string() << "\n\n";
    printReportTable(options.report, std::cout);
}

void run(Core::Kernel& kernel, ProcessSource& source, const Options& options)
{
    for (const std::filesystem::path& file : {options.output, options.log, options.report})
        requireDirectoryOf(file);
    startKernel(kernel, source, options);
    processMesh(kernel, source, options);
    kernel.Terminate();
    kernel.SaveWaypointsToXml(wide(options.report).c_str());
    printResults(options);
}

} // namespace

int main(int argc, char** argv)
{
    int exitCode = exitDone;
    const std::optional<Options> options = parseCommandLine(argc, argv, exitCode);
    if (!options)
        return exitCode;
    ProcessSource source;
    Core::Kernel& kernel = Core::Kernel::Instance();
    try {
        run(kernel, source, *options);
    } catch (const std::exception& error) {
        kernel.Terminate();
        std::cerr << "mesh_smoother: " << error.what() << '\n';
        return exitFailed;
    }
    return exitDone;
}
