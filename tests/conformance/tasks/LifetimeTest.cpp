// Runs a host as a child process: what it does around its application objects and at its end can be seen only
// from outside. Each scene is named as a claim would be, and checks the details itself.
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "support/RunProgram.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic::Testing;

namespace {

class TaskLifetime : public ::testing::TestWithParam<const char*>
{
};

class PluginLifetime : public ::testing::TestWithParam<const char*>
{
};

void expectCleanEnd(const ProgramResult& result)
{
    EXPECT_TRUE(result.hasExited);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

std::string sceneName(const ::testing::TestParamInfo<const char*>& info)
{
    return info.param;
}

} // namespace

TEST_P(TaskLifetime, endsCleanlyAndInSilence)
{
    const TemporaryDirectory directory;
    expectCleanEnd(runProgram(BRN_TASK_LIFETIME_PROGRAM, {GetParam()}, directory.path()));
}

INSTANTIATE_TEST_SUITE_P(
    Scenes, TaskLifetime,
    ::testing::Values("loadOnly", "leaveMainIdle", "leaveMainWithoutApplication", "leaveMainBusy",
                      "leaveMainWhileTasksFinish", "leaveMainWhileTasksWaitForTasks",
                      "leaveMainWhileQueuesEnd", "leaveMainWithQueuesInStaticStorage",
                      "leaveMainThenDispatch", "endAtOnce", "exitFromMain", "exitFromTheEventLoop",
                      "exitFromWorker", "exitFromWorkerOfGlobalQueue", "exitFromThread", "exitFromGuiTask",
                      "exitWhileThreadsDispatch", "exitWhileThreadsWaitForFutures", "beforeApplication",
                      "beforeApplicationWithoutEventLoop", "beforeApplicationAThreadWaits",
                      "beforeApplicationMainWaits", "beforeApplicationQueuesEnd", "betweenApplications",
                      "afterApplication", "afterApplicationAThreadStillDispatches",
                      "afterApplicationAThreadIsLetGoByTheGuiQueue", "afterApplicationWorkersAreBusy"),
    sceneName);

TEST_P(PluginLifetime, opensAndClosesCleanlyAndInSilence)
{
    const TemporaryDirectory directory;
    const std::string library = std::filesystem::absolute(BRN_KERNEL_LIBRARY).u8string();
    expectCleanEnd(runProgram(BRN_PLUGIN_HOST_PROGRAM, {library, GetParam()}, directory.path()));
}

INSTANTIATE_TEST_SUITE_P(Scenes, PluginLifetime,
                         ::testing::Values("idle", "idleWithoutApplication", "again", "busy", "busyToTheEnd",
                                           "busyWithTheLoader", "applicationAfterClosing",
                                           "applicationAfterDispatchingAndClosing",
                                           "applicationEndsAfterClosing"),
                         sceneName);
