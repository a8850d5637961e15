/// \file
/// A window stays responsive, whatever is reported to it.

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <iostream>
#include <memory>
#include <thread>

#include <QEventLoop>
#include <QTimer>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>
#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>

#include "BallShape.h"
#include "EventLag.h"
#include "MeshView.h"
#include "MeshWorkbenchFixture.h"
#include "support/Sanitizers.h"

using namespace Brennic::Core;
using Brennic::Testing::serveUntil;
using Brennic::Widgets::ProgressModel;

namespace {

constexpr int reportCount = 1'000'000;
constexpr int reportsPerLogLine = 1000;
constexpr double boundInMilliseconds = 50;

struct Receiver final : ProgressReportingProtocol
{
    void progressUpdated(Progress*, float, const std::wstring&) override { ++updates; }
    void progressCompleted(Progress*, const std::wstring&) override { ++completions; }
    int updates = 0;
    int completions = 0;
};

// Four parts of one whole, counted in turn.
class Flood
{
public:
    Flood()
    {
        m_root->setKeepsRemainders(true);
        m_root->setDelegate(m_receiver, true);
        m_root->setReportInterval(std::chrono::milliseconds(50));
        for (auto& part : m_parts) {
            part = std::make_shared<Progress>(reportsPerPart, L"Part");
            m_root->addChildWithPendingCount(part, reportsPerPart);
        }
    }

    const std::shared_ptr<Progress>& root() const { return m_root; }
    const Receiver& receiver() const { return *m_receiver; }

    // In a worker thread.
    void run()
    {
        for (int i = 0; i < reportCount; ++i) {
            ++*m_parts[static_cast<std::size_t>(i) % m_parts.size()];
            if (i % reportsPerLogLine == 0)
                Kernel::Instance().Logger()->Log(Info, L"report %d", i);
        }
    }

private:
    static constexpr int reportsPerPart = reportCount / 4;

    std::shared_ptr<Receiver> m_receiver = std::make_shared<Receiver>();
    std::shared_ptr<Progress> m_root = std::make_shared<Progress>(0, L"Flood");
    std::array<std::shared_ptr<Progress>, 4> m_parts;
};

// Serves events until the flood has come in to the last drop; returns whether it has within two minutes.
bool serveFlood(Flood& flood)
{
    QEventLoop loop;
    bool isOver = false;
    QTimer::singleShot(std::chrono::minutes(2), &loop, &QEventLoop::quit);
    dispatchAsync(
        [&] {
            flood.run();
            dispatchAsync( // behind all that the reports have queued there
                [&] {
                    isOver = true;
                    loop.quit();
                },
                eQOS_GUI);
        },
        eQOS_Normal);
    loop.exec();
    return isOver;
}

} // namespace

// What the two tests below measure with: it finds a thread that sleeps, and one that computes.
TEST_F(MeshWorkbenchTest, theLagOfEventsIsThatOfAThreadThatDoesNotServeThem)
{
    constexpr std::chrono::milliseconds held{80};
    constexpr EventLag::Milliseconds atLeast{60}; // the event may be posted after the thread has begun
    EventLag sleeping;
    EXPECT_TRUE(serveUntil([&] {
        std::this_thread::sleep_for(held);
        return sleeping.longest() >= atLeast;
    }));
    sleeping.stop();
    EventLag computing;
    EXPECT_TRUE(serveUntil([&] {
        const std::clock_t end = std::clock() + CLOCKS_PER_SEC * held.count() / 1000;
        while (std::clock() < end) {
        }
        return computing.longest() >= atLeast;
    }));
}

TEST_F(MeshWorkbenchTest, anEventIsAnsweredWithin50MillisecondsWhileAMillionReportsArrive)
{
    Flood flood;
    window->views().setProgress(flood.root());
    EventLag lag;
    ASSERT_TRUE(serveFlood(flood));
    lag.stop();
    std::cout << "longest of " << lag.count() << " responses: " << lag.longest().count() << " ms\n";
    RecordProperty("longestResponseInMilliseconds", std::to_string(lag.longest().count()));
    EXPECT_GT(lag.count(), 100);
    const QModelIndex part = model().index(3, 0, model().rootIndex());
    EXPECT_TRUE(serveUntil([&] { return state(part) == ProgressModel::Complete; }));
    EXPECT_GT(flood.receiver().updates, 1);
    EXPECT_LT(flood.receiver().updates, reportCount / 1000);
    EXPECT_TRUE(serveUntil([&] { return flood.receiver().completions == 1; }));
    EXPECT_TRUE(serveUntil([&] { return logText().find("report 999000") != std::string::npos; }));
    if (Brennic::Testing::isSanitized)
        GTEST_SKIP() << "all has arrived; a sanitizer slows every thread down, so the time is not judged";
    EXPECT_LT(lag.longest().count(), boundInMilliseconds);
}

TEST_F(MeshWorkbenchTest, anEventIsAnsweredWithin50MillisecondsWhileALargeMeshIsTurned)
{
    constexpr int rings = 350; // 490,000 triangles
    constexpr int steps = 40;
    MeshView& view = *window->views().mesh();
    int turned = 0;
    QObject::connect(&view, &MeshView::pictureShown, window.get(), [&] {
        if (turned == steps)
            return;
        Camera camera = view.camera(); // the next as soon as one is seen
        camera.rotation = QQuaternion::fromAxisAndAngle(0, 1, 0, static_cast<float>(3 * ++turned));
        view.setCamera(camera);
    });
    const auto shape = std::make_shared<const MeshShape>(Brennic::Testing::ball(rings));
    EventLag lag;
    view.setShape(shape);
    ASSERT_TRUE(serveUntil([&] { return turned == steps && view.isFine(); }));
    lag.stop();
    std::cout << "longest of " << lag.count() << " responses: " << lag.longest().count() << " ms\n";
    RecordProperty("longestResponseInMilliseconds", std::to_string(lag.longest().count()));
    EXPECT_GT(lag.count(), 20);
    if (Brennic::Testing::isSanitized)
        GTEST_SKIP() << "all was shown; a sanitizer slows every thread down, so the time is not judged";
    EXPECT_LT(lag.longest().count(), boundInMilliseconds);
}
