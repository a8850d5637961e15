#include <chrono>
#include <cmath>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <QCoreApplication>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>

using namespace Brennic::Core;

static constexpr int pointCount = 2'000'000;

static void settle(double& height) // the work
{
    for (int i = 0; i < 100; ++i)
        height = std::cos(height);
}

class Display final : public ProgressReportingProtocol
{
public:
    explicit Display(std::shared_ptr<ProgressState> state) : m_state(std::move(state)) {}

    void progressUpdated(Progress*, float, const std::wstring&) override
    {
        const ProgressEstimate estimate = m_state->getEstimate(); // of the exact fraction
        std::cout << static_cast<int>(100 * m_state->getFraction()) << " %";
        if (estimate.remaining) // not yet in the first second
            std::cout << ", " << std::lround(estimate.remaining->count()) << " s left";
        std::cout << std::endl;
    }
    void progressCompleted(Progress*, const std::wstring&) override
    {
        std::cout << m_state->getCompletedUnitCount() << " of " << m_state->getTotalUnitCount()
                  << " settled\n";
        QCoreApplication::quit();
    }

private:
    const std::shared_ptr<ProgressState> m_state;
};

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const auto points = std::make_shared<Progress>(pointCount, L"Points");
    const auto display = std::make_shared<Display>(points->getState());
    points->setDelegate(display, true);                        // in this thread
    points->setReportInterval(std::chrono::milliseconds(250)); // of two million steps, a few are reported
    dispatchAsync(
        [points] {
            std::vector<double> heights(pointCount, 1);
            for (double& height : heights) {
                settle(height);
                ++*points;
            }
        },
        eQOS_Normal);
    return QCoreApplication::exec();
}
