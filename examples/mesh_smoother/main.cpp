/// \file
/// Smooths a triangle mesh, and shows on the way how a host uses the library.
///
/// The main thread runs the event loop and shows progress. The pipeline is a task on one of the library's own
/// queues; while it smooths, workers of a queue of its own help it with loops over the vertices.

#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include <QCoreApplication>
#include <QScopeGuard>
#include <boost/nowide/args.hpp>
#include <boost/nowide/convert.hpp>

#include <brn_mesh_kernel/logging/Log.h>
#include <brn_mesh_kernel/progress/ConsoleProgress.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/DispatchFuture.h>

#include "KernelSession.h"
#include "Options.h"
#include "Pipeline.h"
#include "Platform.h"
#include "Printing.h"
#include "RunFiles.h"

namespace {

using namespace Brennic::Core;

// In the main thread, which is the one for waypoints and for output.
void finishStage(Stage stage, const std::wstring& message, const std::wstring& warning)
{
    const ConsoleProgress::Pause pause;
    BRN_LOG(Info, "{}", message);
    if (!warning.empty())
        BRN_LOG(Warn, "{}", warning);
    Kernel::Instance().ProfilerWaypoint(stageName(stage));
    std::cout.flush();
}

// The pipeline sees it before its next step.
void cancel(Progress& progress)
{
    progress.cancel();
    BRN_LOG(Warn, "interrupted: ending before the next step");
}

// Runs the event loop until the pipeline is done.
RunEnd runToTheEnd(Pipeline& pipeline)
{
    const auto work = [&pipeline] {
        const auto quit = qScopeGuard([] { dispatchAsync(&QCoreApplication::quit, eQOS_GUI); });
        return pipeline.run();
    };
    const QFuture<RunEnd> end = dispatch(work, eQOS_Normal);
    QCoreApplication::exec();
    waitFor(end); // the loop may be left a moment before the result is there
    return end.result();
}

RunEnd smoothMesh(const Options& options)
{
    Stages stages(options, sizeOrZero(options.input));
    ConsoleProgress line(stages.root());
    StageTimes times;
    const auto stageDone = [&](Stage stage, const std::wstring& message, const std::wstring& warning) {
        finishStage(stage, message, warning);
        if (!line.isLive())
            times.stageDone(boost::nowide::narrow(stageName(stage)));
    };
    Pipeline pipeline(options, stages,
                      [&](Stage stage, const std::wstring& message, const std::wstring& warning) {
                          dispatchSync([&] { stageDone(stage, message, warning); }, eQOS_GUI);
                      });
    ProcessSource source(pipeline);
    const KernelSession session(options, source);
    const InterruptWatch watch([&stages] { cancel(*stages.root()); });
    RunEnd end = runToTheEnd(pipeline);
    if (end.outcome == RunEnd::Outcome::Done)
        line.finish();
    return end;
}

void printResults(const Options& options)
{
    std::cout << "\nmesh    " << std::filesystem::absolute(options.output).u8string() << "\nlog     "
              << std::filesystem::absolute(options.log).u8string() << "\nreport  "
              << std::filesystem::absolute(options.report).u8string() << "\n\n";
    printReportTable(options.report, std::cout);
}

void run(const Options& options)
{
    for (const std::filesystem::path& file : {options.output, options.log, options.report})
        requireWritablePlace(file);
    const RunEnd end = smoothMesh(options);
    if (end.outcome == RunEnd::Outcome::Interrupted)
        endInterrupted();
    if (end.outcome == RunEnd::Outcome::Failed)
        throw std::runtime_error(end.error);
    saveReport(options.report);
    printResults(options);
    if (!std::cout.flush())
        throw std::runtime_error("cannot print where the results are");
}

int fail(const std::string& message)
{
    std::cerr << "mesh_smoother: " << message << '\n';
    return exitFailed;
}

} // namespace

int main(int argc, char** argv)
{
    const boost::nowide::args utf8Arguments(argc, argv);
    const TerminalOutput terminal;
    int exitCode = exitDone;
    const std::optional<Options> options = parseCommandLine(argc, argv, exitCode);
    if (!options)
        return exitCode;
    const QCoreApplication application(argc, argv);
    try {
        run(*options);
    } catch (const std::exception& error) {
        return fail(reasonOf(error));
    }
    return exitDone;
}
