#include <brn_mesh_kernel/tasks/TaskWorker.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <QMetaMethod>

#include <brn_mesh_kernel/tasks/WorkerThreads.h>

#include "support/HostObjects.h"
#include "support/Latch.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

// A GUI queue whose jobs are added and posted in separate steps, as several threads at once do.
class GuiWorker : public TaskFixture
{
protected:
    using Added = std::pair<TaskWorker::JobNumber, std::size_t>;

    GuiWorker() { WorkerThreads::makeWorkers(core, 1); }
    ~GuiWorker() override { WorkerThreads::retireWorkers(*core); }

    Added add(std::function<void()> function)
    {
        TaskJob job{nullptr, std::move(function)};
        return core->scheduler.append(job);
    }

    void post(Added added) { core->guiWorker->postJob(added.first, added.second); }
    void addAndPost(std::function<void()> function) { post(add(std::move(function))); }

    const std::shared_ptr<TaskQueueCore> core =
        std::make_shared<TaskQueueCore>(eQOS_GUI, std::make_shared<TaskFamily>());
};

} // namespace

TEST(TaskWorker, theMetaObjectNamesTheClassWithItsOneSlot)
{
    const QMetaObject& meta = TaskWorker::staticMetaObject;
    EXPECT_STREQ(meta.className(), "Brennic::Core::TaskWorker");
    EXPECT_EQ(meta.superClass(), &QObject::staticMetaObject);
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 1);
    const QMetaMethod method = meta.method(meta.methodOffset());
    EXPECT_EQ(method.methodType(), QMetaMethod::Slot);
    EXPECT_EQ(method.methodSignature(), "tryRunTask(Task*)");
}

// The event of the second of two jobs may be posted first, and runs both. The first of them is too much for the pass and
// begins a flood, which is over with the second.
TEST_F(GuiWorker, keepsTheOrderBehindAFloodThatAnOrdinaryEventHasEnded)
{
    using std::chrono::milliseconds;
    std::vector<std::string> order;
    Latch lastRuns;
    Latch havePosted;
    addAndPost([] { spinFor(milliseconds(3)); });
    addAndPost([] { spinFor(milliseconds(8)); });
    const Added first = add([] {});
    post(add([&] {
        lastRuns.countDown();
        EXPECT_TRUE(havePosted.wait());
    }));
    post(first);
    std::thread poster([&] {
        EXPECT_TRUE(lastRuns.wait());
        addAndPost([&] { order.emplace_back("task"); });
        QMetaObject::invokeMethod(
            application.get(), [&] { order.emplace_back("event"); }, Qt::QueuedConnection);
        havePosted.countDown();
    });
    EXPECT_TRUE(serveUntil([&] { return order.size() == 2; }));
    poster.join();
    EXPECT_EQ(order, (std::vector<std::string>{"task", "event"}));
}
