/// \file
/// How a run in the background ends, also where it cannot end as usual.

#include <cstdlib>
#include <memory>
#include <vector>

#include "MeshWorkbenchFixture.h"
#include "RunSource.h"
#include "SmoothingRun.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using ::testing::HasSubstr;

namespace {

using SmoothingRunTest = MeshWorkbenchTest;

} // namespace

TEST_F(SmoothingRunTest, anExceptionOfAnyTypeEndsTheRun)
{
    options.midway = [] { throw 42; };
    makeWindow();
    window->show();
    window->openMesh(demoMesh);
    ASSERT_TRUE(serveUntilRunEnds());
    EXPECT_EQ(outcome, Outcome::Failed);
    EXPECT_THAT(message(), HasSubstr("unknown"));
    const QModelIndex root = model().rootIndex();
    EXPECT_TRUE(serveUntil([&] { return state(root) == Brennic::Widgets::ProgressModel::Failed; }));
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)

TEST_F(SmoothingRunTest, anApplicationThatGoesBeforeTheRunBeginsEndsIt)
{
    window.reset();
    session.reset();
    std::vector<std::unique_ptr<BlockingTask>> blocking;
    TaskQueue& queue = *TaskQueue::getGlobalQueue(eQOS_Normal);
    for (int i = 0; i < queue.getMaxConcurrency(); ++i) {
        blocking.push_back(std::make_unique<BlockingTask>());
        queue.addTask(blocking.back()->task);
        ASSERT_TRUE(blocking.back()->hasStarted());
    }
    options.input = demoMesh;
    RunSource source;
    SmoothingRun run(options, source);
    QObject::connect(&run, &SmoothingRun::ended, &run, [this](Outcome how) {
        outcome = how;
        ++runsEnded;
    });
    run.start();
    application.reset();
    EXPECT_EQ(runsEnded, 1);
    EXPECT_EQ(outcome, Outcome::Interrupted);
    EXPECT_FALSE(run.isRunning());
    if (run.isRunning())
        std::quick_exit(1); // its destructor would wait for ever
}

#endif
