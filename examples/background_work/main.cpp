#include <iostream>
#include <memory>
#include <string>

#include <QCoreApplication>

#include <brn_mesh_kernel/progress/Percent.h>
#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>

using namespace Brennic::Core;

// Called in the GUI thread, whatever thread does the work.
struct StatusBar final : ProgressReportingProtocol
{
    void progressUpdated(Progress*, float fraction, const std::wstring&) override
    {
        std::cout << toPercent(fraction) << " %\n";
    }
    void progressCompleted(Progress*, const std::wstring&) override { QCoreApplication::quit(); }
};

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const auto statusBar = std::make_shared<StatusBar>();
    const auto progress = std::make_shared<Progress>(4, L"Smoothing");
    progress->setDelegate(statusBar, true);
    dispatchAsync(
        [progress] {
            for (int step = 0; step < 4; ++step)
                ++*progress; // after a quarter of the work
        },
        eQOS_Normal);
    return QCoreApplication::exec();
}
