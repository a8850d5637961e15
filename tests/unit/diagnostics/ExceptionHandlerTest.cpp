#include <brn_mesh_kernel/diagnostics/ExceptionHandler.h>

#include <gtest/gtest.h>

#include <brn_mesh_common/FileUtil.h>

#include "support/VirtualSlot.h"

using namespace Brennic::Core;
using Brennic::Testing::virtualSlot;
namespace FileUtil = Brennic::Objects::FileUtil;

TEST(ExceptionHandler, theDumpDirectoryIsEmptyAtFirstAndNeverNull)
{
    const ExceptionHandler handler;
    ASSERT_NE(handler.DumpDirectory(), nullptr);
    EXPECT_STREQ(handler.DumpDirectory(), L"");
}

TEST(ExceptionHandler, withoutADirectoryThePathsAreBareNames)
{
    ExceptionHandler handler;
    EXPECT_EQ(handler.Initialize(), Success);
    EXPECT_EQ(crashSettings().dumpFilePath, L"diagnostics_unit_test.dmp");
    EXPECT_EQ(crashSettings().commandLogPath, L"diagnostics_unit_test_command_log.xml");
}

TEST(ExceptionHandler, thePathsAreInTheDumpDirectory)
{
    ExceptionHandler handler;
    EXPECT_EQ(handler.SetDumpDirectory(L"/var/crash"), Success);
    handler.Initialize();
    EXPECT_STREQ(handler.DumpDirectory(), L"/var/crash");
    EXPECT_EQ(crashSettings().dumpFilePath, FileUtil::Combine(L"/var/crash", L"diagnostics_unit_test.dmp"));
    EXPECT_EQ(crashSettings().commandLogPath,
              FileUtil::Combine(L"/var/crash", L"diagnostics_unit_test_command_log.xml"));
}

TEST(ExceptionHandler, aNewDirectoryForgetsThePathsUntilInitialize)
{
    ExceptionHandler handler;
    handler.Initialize();
    handler.SetDumpDirectory(L"/other");
    EXPECT_EQ(crashSettings().dumpFilePath, L"");
    EXPECT_EQ(crashSettings().commandLogPath, L"");
    handler.Initialize();
    EXPECT_EQ(crashSettings().dumpFilePath, FileUtil::Combine(L"/other", L"diagnostics_unit_test.dmp"));
}

TEST(ExceptionHandler, thePathsAreSharedByAllHandlers)
{
    ExceptionHandler first;
    first.SetDumpDirectory(L"/first");
    first.Initialize();
    ExceptionHandler second;
    second.Initialize();
    EXPECT_STREQ(second.DumpDirectory(), L"");
    EXPECT_EQ(crashSettings().dumpFilePath, FileUtil::Combine(L"/first", L"diagnostics_unit_test.dmp"));
}

TEST(ExceptionHandler, terminateChangesNothing)
{
    ExceptionHandler handler;
    handler.SetSendCrashDumpHandler([](const wchar_t*) { return true; });
    handler.Initialize();
    handler.Terminate();
    EXPECT_EQ(crashSettings().dumpFilePath, L"diagnostics_unit_test.dmp");
    EXPECT_TRUE(static_cast<bool>(crashSettings().sendCrashDump));
}

TEST(ExceptionHandler, theHostsHandlerIsCopiedAndAnEmptyOneClears)
{
    ExceptionHandler handler;
    EXPECT_EQ(handler.SetSendCrashDumpHandler([](const wchar_t*) { return true; }), Success);
    EXPECT_EQ(handler.SetSendCrashDumpHandler(crashSettings().sendCrashDump), Success);
    ASSERT_TRUE(static_cast<bool>(crashSettings().sendCrashDump));
    EXPECT_TRUE(crashSettings().sendCrashDump(L""));
    EXPECT_EQ(handler.SetSendCrashDumpHandler({}), Success);
    EXPECT_FALSE(static_cast<bool>(crashSettings().sendCrashDump));
}

TEST(ExceptionHandler, virtualFunctionsKeepTheirSlots)
{
    EXPECT_EQ(virtualSlot(&ExceptionHandler::Initialize), 2U);
    EXPECT_EQ(virtualSlot(&ExceptionHandler::Terminate), 3U);
    EXPECT_EQ(virtualSlot(&ExceptionHandler::DumpDirectory), 4U);
    EXPECT_EQ(virtualSlot(&ExceptionHandler::SetDumpDirectory), 5U);
    EXPECT_EQ(virtualSlot(&ExceptionHandler::SetSendCrashDumpHandler), 6U);
}
