#include <type_traits>

#include <gtest/gtest.h>
#include <log4cplus/loglevel.h>

#include <brn_mesh_kernel/kernel/EKvsLogLevel.h>
#include <brn_mesh_kernel/kernel/EKvsStatus.h>
#include <brn_mesh_kernel/kernel/Kernel.h>

using namespace Brennic::Core;

TEST(EKvsStatus, valuesAreFixed)
{
    EXPECT_EQ(static_cast<int>(Success), 0);
    EXPECT_EQ(static_cast<int>(Failure), 1);
    EXPECT_EQ(static_cast<int>(NotRunning), 2);
    EXPECT_EQ(sizeof(EKvsStatus), 4U);
}

TEST(EKvsLogLevel, valuesAreTheLog4cplusNumbers)
{
    EXPECT_EQ(static_cast<int>(Trace), log4cplus::TRACE_LOG_LEVEL);
    EXPECT_EQ(static_cast<int>(Debug), log4cplus::DEBUG_LOG_LEVEL);
    EXPECT_EQ(static_cast<int>(Info), log4cplus::INFO_LOG_LEVEL);
    EXPECT_EQ(static_cast<int>(Warn), log4cplus::WARN_LOG_LEVEL);
    EXPECT_EQ(static_cast<int>(Error), log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(static_cast<int>(Fatal), log4cplus::FATAL_LOG_LEVEL);
    EXPECT_EQ(static_cast<int>(Off), log4cplus::OFF_LOG_LEVEL);
    EXPECT_EQ(sizeof(EKvsLogLevel), 4U);
}

TEST(EKvsLogLevel, valuesRunFromZeroInStepsOfTenThousand)
{
    int expected = 0;
    for (const EKvsLogLevel level : {Trace, Debug, Info, Warn, Error, Fatal, Off}) {
        EXPECT_EQ(level, expected);
        expected += 10000;
    }
}

TEST(EKvsLogLevel, everyNumberReadsBackAsItWasSet)
{
    Kernel& kernel = Kernel::Instance();
    for (const int number : {0, 10000, 20000, 30000, 40000, 50000, 60000, 34567}) {
        EXPECT_EQ(kernel.SetLogLevel(static_cast<EKvsLogLevel>(number)), Success);
        EXPECT_EQ(kernel.LogLevel(), number);
    }
}
