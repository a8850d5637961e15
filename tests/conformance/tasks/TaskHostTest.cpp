// Runs a host as a child process: its own application object is part of what is tested. Each scene is named as a
// claim would be, and checks the details itself.
#include <string>

#include <gtest/gtest.h>

#include "support/RunProgram.h"
#include "support/Sanitizers.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic::Testing;

namespace {

class TaskHost : public ::testing::TestWithParam<const char*>
{
};

std::string sceneName(const ::testing::TestParamInfo<const char*>& info)
{
    return info.param;
}

} // namespace

TEST_P(TaskHost, endsCleanlyAndInSilence)
{
    const std::string scene = GetParam();
    if (isThreadSanitized && scene.find("Served") != std::string::npos)
        GTEST_SKIP() << "a task that serves events meanwhile races with the application's destructor in Qt";
    const TemporaryDirectory directory;
    const ProgramResult result = runProgram(BRN_TASK_HOST_PROGRAM, {scene}, directory.path());
    EXPECT_TRUE(result.hasExited);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

INSTANTIATE_TEST_SUITE_P(Scenes, TaskHost,
                         ::testing::Values("exceptionReachesTheNotifyThatCatches",
                                           "exceptionsOfManyWorkersReachTheNotifyThatCatches",
                                           "exceptionInsideATaskThatServesEventsReachesTheNotifyThatCatches",
                                           "exceptionOfATaskWithoutACallableReachesTheNotifyThatCatches",
                                           "exceptionOfAGuiTaskReachesTheNotifyThatCatches",
                                           "exceptionOnAnOverflowQueueReachesTheNotifyThatCatches",
                                           "tasksRunAfterOneThatServedEventsBetweenApplications",
                                           "tasksRunAfterAllWorkersServedEventsBetweenApplications",
                                           "tasksRunAfterOneWhoseServedEventsWereDropped",
                                           "tasksRunAfterAllWorkersServedEventsThatWereDropped",
                                           "queuesAreMadeWhileApplicationsComeAndGo",
                                           "tasksAreBusyWhileApplicationsComeAndGo",
                                           "tasksWaitForTasksWhileApplicationsComeAndGo"),
                         sceneName);
