#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>

#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

class CountingReceiver final : public ProgressReportingProtocol
{
public:
    void progressUpdated(Progress*, float, const std::wstring&) override { ++messages; }
    void progressCompleted(Progress*, const std::wstring&) override
    {
        ++messages;
        ++completions;
    }

    std::atomic<int> messages{0};
    std::atomic<int> completions{0};
};

class ProgressStress : public TaskFixture
{
protected:
    static constexpr int threadsOfHost = 4;
    static constexpr int units = 4096; // a power of two: its fractions are exact, so truncation loses nothing
};

} // namespace

TEST_F(ProgressStress, treesThatReportFromOneThreadEachCountExactly)
{
    const auto receiver = std::make_shared<CountingReceiver>();
    std::vector<std::shared_ptr<Progress>> roots;
    std::thread host([&] {
        std::vector<std::thread> threads;
        for (int i = 0; i < threadsOfHost; ++i) {
            const auto root = std::make_shared<Progress>(0, L"root");
            const auto middle = std::make_shared<Progress>(0, L"middle");
            const auto leaf = std::make_shared<Progress>(units, L"leaf");
            root->addChildWithPendingCount(middle, units);
            middle->addChildWithPendingCount(leaf, units);
            root->setDelegate(receiver, true); // all share one receiver, in the GUI thread
            roots.push_back(root);
            threads.emplace_back([leaf] {
                for (int unit = 0; unit < units; ++unit)
                    leaf->setCompletedUnitCount(unit + 1);
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    });
    EXPECT_TRUE(serveUntil([&] { return receiver->messages == threadsOfHost * units; }));
    host.join();
    EXPECT_EQ(receiver->completions, threadsOfHost);
    for (const std::shared_ptr<Progress>& root : roots)
        EXPECT_EQ(root->getCompletedUnitCount(), units);
}

TEST_F(ProgressStress, workersMayTakeTurnsToReportToOneParent)
{
    const auto receiver = std::make_shared<CountingReceiver>();
    const auto root = std::make_shared<Progress>(0);
    root->setDelegate(receiver, false);
    std::vector<std::shared_ptr<Progress>> parts;
    for (int i = 0; i < threadsOfHost; ++i) {
        parts.push_back(std::make_shared<Progress>(100));
        root->addChildWithPendingCount(parts.back(), 100);
    }
    std::mutex turn; // one thread at a time may report to the same parent
    std::vector<std::thread> threads;
    for (const std::shared_ptr<Progress>& part : parts)
        threads.emplace_back([&, part] {
            for (int unit = 1; unit <= 100; ++unit) {
                const std::lock_guard<std::mutex> lock(turn);
                part->setCompletedUnitCount(unit);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(receiver->messages, threadsOfHost * 100);
}

TEST_F(ProgressStress, aCountIsReadAndSetByManyThreads)
{
    Progress progress(1'000'000);
    std::vector<std::thread> threads;
    for (int i = 0; i < threadsOfHost; ++i)
        threads.emplace_back([&] {
            for (int unit = 0; unit < units; ++unit) {
                ++progress; // two at the same moment may count as one
                EXPECT_GE(progress.getFractionCompleted(), 0.0F);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_GE(progress.getCompletedUnitCount(), units);
    EXPECT_LE(progress.getCompletedUnitCount(), threadsOfHost * units);
}

TEST_F(ProgressStress, stepsOfManyThreadsAreThinnedOutAndCompletedOnce)
{
    constexpr int steps = 20'000;
    const auto receiver = std::make_shared<CountingReceiver>();
    const auto watcher = std::make_shared<CountingReceiver>();
    Progress progress(threadsOfHost * steps);
    progress.setDelegate(receiver, true);
    progress.getState()->addWatcher(watcher);
    progress.setReportInterval(std::chrono::milliseconds(1));
    std::vector<std::thread> threads;
    for (int i = 0; i < threadsOfHost; ++i)
        threads.emplace_back([&] {
            for (int step = 0; step < steps; ++step)
                ++progress;
        });
    EXPECT_TRUE(serveUntil([&] {
        static_cast<void>(progress.getState()->getEstimate()); // as a display does
        return receiver->completions > 0;
    }));
    for (std::thread& thread : threads)
        thread.join();
    QCoreApplication::processEvents();
    EXPECT_EQ(progress.getCompletedUnitCount(), threadsOfHost * steps);
    EXPECT_EQ(receiver->completions, 1);
    EXPECT_EQ(watcher->completions, 1);
    EXPECT_LT(receiver->messages, threadsOfHost * steps / 10);
}
