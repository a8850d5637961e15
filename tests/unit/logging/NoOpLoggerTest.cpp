#include <brn_mesh_kernel/logging/NoOpLogger.h>

#include <gtest/gtest.h>

#include "support/CapturedDebugger.h"
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
    const Testing::CapturedOutput console(Testing::Descriptor::standardOutput);
    const Testing::CapturedDebugger debugger;
    NoOpLogger logger;
    logger.Log(Core::Fatal, L"%d", 1);
    logger.LogWithLocation(Core::Fatal, "file", 1, "function", L"%d", 1);
    EXPECT_EQ(console.text(), "");
    EXPECT_EQ(debugger.text(), "");
}
