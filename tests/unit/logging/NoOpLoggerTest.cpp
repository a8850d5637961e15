#include <brn_mesh_kernel/logging/NoOpLogger.h>

#include <gtest/gtest.h>

#include "support/CapturedOutput.h"

using namespace Brennic;

TEST(NoOpLogger, everyLevelIsDisabled)
{
    NoOpLogger logger;
    for (const Core::EKvsLogLevel level :
         {Core::Trace, Core::Debug, Core::Info, Core::Warn, Core::Error, Core::Fatal, Core::Off})
        EXPECT_FALSE(logger.IsEnabled(level));
}

TEST(NoOpLogger, recordsGoNowhere)
{
    const Testing::CapturedOutput console(STDOUT_FILENO);
    const Testing::CapturedOutput debugger(STDERR_FILENO);
    NoOpLogger logger;
    logger.Log(Core::Fatal, L"%d", 1);
    logger.LogWithLocation(Core::Fatal, "file", 1, "function", L"%d", 1);
    EXPECT_EQ(console.text(), "");
    EXPECT_EQ(debugger.text(), "");
}
