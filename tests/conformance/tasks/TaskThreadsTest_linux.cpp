// Runs a host to which the system refuses threads, or that counts them, as a child process: it has a pthread_create
// of its own. Each scene is named as a claim would be, and checks the details itself.
#include <string>

#include <gtest/gtest.h>

#include "support/RunProgram.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic::Testing;

namespace {

class TaskThreads : public ::testing::TestWithParam<const char*>
{
};

std::string sceneName(const ::testing::TestParamInfo<const char*>& info)
{
    return info.param;
}

} // namespace

TEST_P(TaskThreads, endsCleanly)
{
    const TemporaryDirectory directory;
    const ProgramResult result = runProgram(BRN_TASK_THREADS_PROGRAM, {GetParam()}, directory.path());
    EXPECT_TRUE(result.hasExited);
    EXPECT_EQ(result.exitCode, 0) << result.err; // where Qt says that a thread was refused
    RecordProperty("out", result.out);
}

INSTANTIATE_TEST_SUITE_P(Scenes, TaskThreads,
                         ::testing::Values("noThreadMakesNoQueue", "aQueueWorksWithTheWorkersThatItGot",
                                           "aTaskThatWaitsRunsWhatItWaitsForIfNoThreadIsHad",
                                           "othersKeepTheirOrderIfNoThreadIsHad",
                                           "aTaskThatIsAddedWhileAllWaitAndNoThreadIsHadRunsLater",
                                           "aWaitThatHasBegunRunsItsTaskOnceNoThreadIsHad",
                                           "aWaitThatHasBegunRunsATaskThatIsAddedWhileNoThreadIsHad",
                                           "aWaitLeavesTasksToAWorkerThatHasStoppedWaiting",
                                           "overflowQueuesThatHaveEndedMakeRoomForOthers",
                                           "recursionTenDeepOnOneWorker", "recursionTenDeepOnFourWorkers",
                                           "recursionFourteenDeepOnOneWorker",
                                           "recursionFourteenDeepOnFourWorkers",
                                           "recursionByDispatchSyncTenDeep",
                                           "exitWhileAThreadDestroysItsObjects"),
                         sceneName);
