/// \file
/// A window that smooths triangle meshes in the background, and shows on the way how a host with a GUI uses the
/// library: the tree of progress, the log as it grows, and the waypoints of the run.

#include <exception>
#include <iostream>
#include <memory>

#include <QApplication>
#include <boost/nowide/args.hpp>

#include "KernelSession.h"
#include "MainWindow.h"
#include "RunFiles.h"
#include "Screenshot.h"
#include "WorkbenchOptions.h"

namespace {

int fail(const std::string& message)
{
    std::cerr << "mesh_workbench: " << message << '\n';
    return exitFailed;
}

std::unique_ptr<Screenshot> makeScreenshot(const WorkbenchOptions& options, MainWindow& window)
{
    if (options.screenshot.empty())
        return nullptr;
    requireWritablePlace(options.screenshot);
    auto screenshot = std::make_unique<Screenshot>(window, options.screenshot);
    QObject::connect(screenshot.get(), &Screenshot::finished, &window, [](const QString& error) {
        QCoreApplication::exit(error.isEmpty() ? exitDone : fail(error.toStdString()));
    });
    return screenshot;
}

int run(const WorkbenchOptions& options)
{
    requireWritablePlace(options.log);
    KernelSession session(options);
    MainWindow window(options, session.source());
    const std::unique_ptr<Screenshot> screenshot = makeScreenshot(options, window);
    window.show();
    if (!options.input.empty())
        window.openMesh(options.input);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    const boost::nowide::args utf8Arguments(argc, argv);
    int exitCode = exitDone;
    const std::optional<WorkbenchOptions> options = parseCommandLine(argc, argv, exitCode);
    if (!options)
        return exitCode;
    const QApplication application(argc, argv);
    QApplication::setDesktopFileName(QStringLiteral("mesh_workbench")); // by which task bars know the program
    try {
        return run(*options);
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
