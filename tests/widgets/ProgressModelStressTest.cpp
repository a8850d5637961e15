#include <brn_mesh_widgets/ProgressModel.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTimer>

#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_widgets/FrameRequest.h>

#include "support/AnnouncementCount.h"
#include "support/Sanitizers.h"
#include "support/TaskFixture.h"

using namespace Brennic;
using namespace Brennic::Testing;
using Core::Progress;
using Widgets::ProgressModel;

namespace {

constexpr int threadCount = 4;

class ProgressModelStress : public TaskFixture
{
protected:
    ProgressModel model;
};

// Counts the events that ask for a frame, in the whole application.
class FrameEventCount : public QObject
{
public:
    FrameEventCount() { QCoreApplication::instance()->installEventFilter(this); }

    int count = 0;

    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == Widgets::FrameRequest::eventType() ? 1 : 0;
        return false;
    }
};

// The longest time in which the event loop did not come to a timer of 5 ms.
class LongestStall
{
public:
    LongestStall()
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer,
                         [this] { longest = std::max(longest, m_sinceTick.restart()); });
        m_timer.setTimerType(Qt::PreciseTimer);
        m_sinceTick.start();
        m_timer.start(5);
    }

    qint64 longest = 0; // in milliseconds

private:
    QTimer m_timer;
    QElapsedTimer m_sinceTick;
};

// Reports of a part are its own affair, so that threads need not take turns.
std::vector<std::shared_ptr<Progress>> addLoneParts(Progress& tree, int units)
{
    std::vector<std::shared_ptr<Progress>> parts;
    for (int i = 0; i < threadCount; ++i) {
        parts.push_back(std::make_shared<Progress>(units, L"part"));
        tree.addChildWithPendingCount(parts.back(), 1);
        parts.back()->setDelegate(nullptr, false);
    }
    return parts;
}

int rowsBelow(const QAbstractItemModel& model, const QModelIndex& index)
{
    int rows = model.rowCount(index);
    for (int row = 0; row < model.rowCount(index); ++row)
        rows += rowsBelow(model, model.index(row, 0, index));
    return rows;
}

} // namespace

TEST_F(ProgressModelStress, aMillionReportsNeitherFillTheEventQueueNorStallTheGuiThread)
{
    constexpr int reports = 1'000'000;
    const auto tree = std::make_shared<Progress>(0);
    const auto parts = addLoneParts(*tree, reports / threadCount);
    model.setProgress(tree);
    int refreshes = 0;
    QObject::connect(&model, &ProgressModel::refreshed, &model, [&] { ++refreshes; });
    const AnnouncementCount announcements(*Core::TaskQueue::getGUIQueue());
    const FrameEventCount frameEvents;
    LongestStall stall;

    std::vector<std::thread> threads;
    for (const auto& part : parts)
        threads.emplace_back([part] {
            for (int unit = 1; unit <= reports / threadCount; ++unit)
                part->setCompletedUnitCount(unit);
        });
    const auto isComplete = [&](int row) {
        const QModelIndex part = model.index(row, 0, model.rootIndex());
        return part.data(ProgressModel::StateRole).toInt() == ProgressModel::Complete;
    };
    EXPECT_TRUE(serveUntil([&] { return isComplete(0) && isComplete(1) && isComplete(2) && isComplete(3); }));
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(announcements.count(), reports); // the progress's own, with a model or without
    EXPECT_GE(refreshes, 1);
    EXPECT_LE(frameEvents.count, refreshes + 1);
    EXPECT_LT(stall.longest, isSanitized ? 5000 : 1000);
    RecordProperty("longest_stall_ms", static_cast<int>(stall.longest));
    RecordProperty("refreshes", refreshes);
}

TEST_F(ProgressModelStress, treesGrowWhileTheModelLooks)
{
    constexpr int partsPerThread = 200;
    const auto tree = std::make_shared<Progress>(0, L"tree");
    std::vector<std::shared_ptr<Progress>> groups;
    for (int i = 0; i < threadCount; ++i) {
        groups.push_back(std::make_shared<Progress>(0, L"group"));
        tree->addChildWithPendingCount(groups.back(), 100);
    }
    model.setProgress(tree);
    std::mutex turn; // the root hears one thread at a time
    std::vector<std::thread> threads;
    for (const auto& group : groups)
        threads.emplace_back([&turn, group] {
            for (int i = 0; i < partsPerThread; ++i) {
                const auto part = std::make_shared<Progress>(2, L"part " + std::to_wstring(i));
                const std::lock_guard<std::mutex> lock(turn);
                group->addChildWithPendingCount(part, 1);
                part->setDescription(L"renamed " + std::to_wstring(i));
                part->setCompletedUnitCount(2);
            }
        });
    const int rows = threadCount * (partsPerThread + 1);
    EXPECT_TRUE(serveUntil([&] { return rowsBelow(model, model.rootIndex()) == rows; }));
    for (std::thread& thread : threads)
        thread.join();
    const QModelIndex group = model.index(0, 0, model.rootIndex());
    const auto lastDescription = [&] { return model.index(partsPerThread - 1, 0, group).data().toString(); };
    EXPECT_TRUE(serveUntil([&] { return lastDescription() == "renamed 199"; }));
}

TEST_F(ProgressModelStress, treesMayGoWhileModelsLookAndModelsWhileThreadsReport)
{
    std::mutex mutex;
    std::shared_ptr<Progress> latest; // guarded by mutex
    std::atomic<bool> isEnough{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i)
        threads.emplace_back([&] {
            while (!isEnough) {
                const auto tree = std::make_shared<Progress>(0, L"tree");
                {
                    const std::lock_guard<std::mutex> lock(mutex);
                    latest = tree;
                }
                const auto part = std::make_shared<Progress>(64, L"part");
                tree->addChildWithPendingCount(part, 64); // fractions of 64 are exact
                for (int unit = 1; unit <= 64; ++unit)
                    part->setCompletedUnitCount(unit);
            }
        });
    int shown = 0;
    const bool hasShown = serveUntil([&] {
        std::shared_ptr<Progress> tree;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            tree = latest;
        }
        if (tree) {
            ProgressModel passing;
            passing.setProgress(tree);
            model.setProgress(tree);
            ++shown;
        }
        return shown >= 200;
    });
    isEnough = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(hasShown);
    latest.reset();
    const auto state = [&] { return model.rootIndex().data(ProgressModel::StateRole).toInt(); };
    EXPECT_TRUE(serveUntil([&] { return state() == ProgressModel::Complete; }));
}
