#include <brn_mesh_kernel/logging/LogSystem.h>

#include <cwchar>
#include <string>

#include <gtest/gtest.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/fileappender.h>
#include <log4cplus/logger.h>

#include <brn_mesh_kernel/logging/Log4CplusLogger.h>
#include <brn_mesh_kernel/logging/NoOpLogger.h>

#include "support/Files.h"
#include "support/TemporaryDirectory.h"
#include "support/VirtualSlot.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

template <typename Type>
bool is(const log4cplus::SharedAppenderPtr& appender)
{
    return dynamic_cast<Type*>(appender.get()) != nullptr;
}

log4cplus::SharedAppenderPtrList rootAppenders()
{
    return log4cplus::Logger::getRoot().getAllAppenders();
}

} // namespace

TEST(LogSystem, constructionSetsTheRootLevelToInfo)
{
    log4cplus::Logger::getRoot().setLogLevel(Error);
    const LogSystem system;
    EXPECT_EQ(log4cplus::Logger::getRoot().getLogLevel(), 20000);
}

TEST(LogSystem, constructionAddsNoAppender)
{
    const LogSystem system;
    EXPECT_TRUE(rootAppenders().empty());
}

TEST(LogSystem, theLoggerDropsEverythingUntilInitialize)
{
    LogSystem system;
    EXPECT_NE(dynamic_cast<NoOpLogger*>(system.CurrentLogger()), nullptr);
    system.Initialize();
    EXPECT_NE(dynamic_cast<Log4CplusLogger*>(system.CurrentLogger()), nullptr);
    system.Terminate();
    EXPECT_NE(dynamic_cast<NoOpLogger*>(system.CurrentLogger()), nullptr);
}

TEST(LogSystem, withoutAPathOnlyTheConsoleIsAttached)
{
    LogSystem system;
    EXPECT_EQ(system.Initialize(), Success);
    ASSERT_EQ(rootAppenders().size(), 1U);
    EXPECT_TRUE(is<log4cplus::ConsoleAppender>(rootAppenders()[0]));
}

TEST(LogSystem, withAPathTheRollingFileFollowsTheConsole)
{
    const TemporaryDirectory directory;
    LogSystem system;
    system.SetLogFilePath(wide(directory / "host.log").c_str());
    EXPECT_EQ(system.Initialize(), Success);
    ASSERT_EQ(rootAppenders().size(), 2U);
    EXPECT_TRUE(is<log4cplus::ConsoleAppender>(rootAppenders()[0]));
    EXPECT_TRUE(is<log4cplus::RollingFileAppender>(rootAppenders()[1]));
}

TEST(LogSystem, theAppendersStayAfterTerminateAndDestruction)
{
    {
        LogSystem system;
        system.Initialize();
        system.Terminate();
        EXPECT_EQ(rootAppenders().size(), 1U);
    }
    EXPECT_EQ(rootAppenders().size(), 1U);
}

TEST(LogSystem, theXmlPatternIsOneEventElement)
{
    EXPECT_STREQ(
        LogSystem::xmlMessageFormat,
        L"  <event level=\"%p\" logger=\"%c\" thread=\"%t\" timestamp=\"%D\">%n    %m%n  </event>%n");
    EXPECT_EQ(std::wcslen(LogSystem::xmlMessageFormat), 81U);
}

TEST(LogSystem, virtualFunctionsKeepTheirSlots)
{
    EXPECT_EQ(virtualSlot(&LogSystem::Initialize), 2U);
    EXPECT_EQ(virtualSlot(&LogSystem::Terminate), 3U);
    EXPECT_EQ(virtualSlot(&LogSystem::TruncateLogFile), 4U);
    EXPECT_EQ(virtualSlot(&LogSystem::SetTruncateLogFile), 5U);
    EXPECT_EQ(virtualSlot(&LogSystem::LogFilePath), 6U);
    EXPECT_EQ(virtualSlot(&LogSystem::SetLogFilePath), 7U);
    EXPECT_EQ(virtualSlot(&LogSystem::LogMessageFormat), 8U);
    EXPECT_EQ(virtualSlot(&LogSystem::SetLogMessageFormat), 9U);
    EXPECT_EQ(virtualSlot(&LogSystem::LogLevel), 10U);
    EXPECT_EQ(virtualSlot(&LogSystem::SetLogLevel), 11U);
}
