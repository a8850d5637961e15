#include <brn_mesh_kernel/diagnostics/ExceptionHandler.h>

#include <functional>
#include <stdexcept>

#include <gtest/gtest.h>

#include <brn_mesh_common/FileUtil.h>

#include "support/VirtualSlot.h"

using namespace Brennic::Core;
using Brennic::Testing::virtualSlot;
namespace FileUtil = Brennic::Objects::FileUtil;

namespace {

void noReport(const wchar_t* /*path*/) noexcept {}

} // namespace

TEST(ExceptionHandler, theDumpDirectoryIsEmptyAtFirstAndNeverNull)
{
    const ExceptionHandler handler(noReport);
    ASSERT_NE(handler.DumpDirectory(), nullptr);
    EXPECT_STREQ(handler.DumpDirectory(), L"");
}

TEST(ExceptionHandler, withoutADirectoryThePathsAreBareNames)
{
    ExceptionHandler handler(noReport);
    EXPECT_EQ(handler.Initialize(), Success);
    EXPECT_EQ(crashSettings().dumpFilePath, L"diagnostics_unit_test.dmp");
    EXPECT_EQ(crashSettings().commandLogPath, L"diagnostics_unit_test_command_log.xml");
}

TEST(ExceptionHandler, thePathsAreInTheDumpDirectory)
{
    ExceptionHandler handler(noReport);
    EXPECT_EQ(handler.SetDumpDirectory(L"/var/crash"), Success);
    handler.Initialize();
    EXPECT_STREQ(handler.DumpDirectory(), L"/var/crash");
    EXPECT_EQ(crashSettings().dumpFilePath, FileUtil::Combine(L"/var/crash", L"diagnostics_unit_test.dmp"));
    EXPECT_EQ(crashSettings().commandLogPath,
              FileUtil::Combine(L"/var/crash", L"diagnostics_unit_test_command_log.xml"));
}

TEST(ExceptionHandler, aNewDirectoryForgetsThePathsUntilInitialize)
{
    ExceptionHandler handler(noReport);
    handler.Initialize();
    handler.SetDumpDirectory(L"/other");
    EXPECT_EQ(crashSettings().dumpFilePath, L"");
    EXPECT_EQ(crashSettings().commandLogPath, L"");
    handler.Initialize();
    EXPECT_EQ(crashSettings().dumpFilePath, FileUtil::Combine(L"/other", L"diagnostics_unit_test.dmp"));
}

TEST(ExceptionHandler, thePathsAreSharedByAllHandlers)
{
    ExceptionHandler first(noReport);
    first.SetDumpDirectory(L"/first");
    first.Initialize();
    ExceptionHandler second(noReport);
    second.Initialize();
    EXPECT_STREQ(second.DumpDirectory(), L"");
    EXPECT_EQ(crashSettings().dumpFilePath, FileUtil::Combine(L"/first", L"diagnostics_unit_test.dmp"));
}

TEST(ExceptionHandler, terminateChangesNothing)
{
    ExceptionHandler handler(noReport);
    handler.SetSendCrashDumpHandler([](const wchar_t*) { return true; });
    handler.Initialize();
    handler.Terminate();
    EXPECT_EQ(crashSettings().dumpFilePath, L"diagnostics_unit_test.dmp");
    EXPECT_TRUE(static_cast<bool>(crashSettings().sendCrashDump));
}

TEST(ExceptionHandler, theHostsHandlerIsCopiedAndAnEmptyOneClears)
{
    ExceptionHandler handler(noReport);
    EXPECT_EQ(handler.SetSendCrashDumpHandler([](const wchar_t*) { return true; }), Success);
    EXPECT_EQ(handler.SetSendCrashDumpHandler(*crashSettings().sendCrashDump), Success);
    ASSERT_TRUE(static_cast<bool>(crashSettings().sendCrashDump));
    EXPECT_TRUE((*crashSettings().sendCrashDump)(L""));
    EXPECT_EQ(handler.SetSendCrashDumpHandler({}), Success);
    EXPECT_FALSE(static_cast<bool>(crashSettings().sendCrashDump));
}

namespace {

// Counts its copies, and throws from the one that it is told.
class CopiedHandler
{
public:
    CopiedHandler(int& copies, int last) : m_copies(copies), m_last(last) {}
    CopiedHandler(const CopiedHandler& other) : m_copies(other.m_copies), m_last(other.m_last)
    {
        if (++m_copies > m_last)
            throw std::runtime_error("no more copies");
    }
    CopiedHandler& operator=(const CopiedHandler&) = delete;
    bool operator()(const wchar_t* /*path*/) const { return true; }

private:
    int& m_copies;
    int m_last;
};

} // namespace

TEST(ExceptionHandler, theHostsHandlerIsCopiedOnce)
{
    constexpr int asManyAsItTakes = 1000;
    int copies = 0;
    const std::function<bool(const wchar_t*)> hosts(CopiedHandler(copies, asManyAsItTakes));
    copies = 0;
    ExceptionHandler handler(noReport);
    handler.SetSendCrashDumpHandler(hosts);
    handler.SetDumpDirectory(L"/var/crash");
    handler.Initialize();
    EXPECT_EQ(copies, 1);
}

TEST(ExceptionHandler, aHandlerThatCannotBeCopiedAgainKeepsNobodyFromInitialize)
{
    constexpr int asManyAsItTakes = 1000;
    int copies = 0;
    const std::function<bool(const wchar_t*)> hosts(CopiedHandler(copies, asManyAsItTakes));
    ExceptionHandler handler(noReport);
    handler.SetSendCrashDumpHandler(hosts);
    copies = asManyAsItTakes; // the next one throws
    EXPECT_EQ(handler.SetDumpDirectory(L"/var/crash"), Success);
    EXPECT_EQ(handler.Initialize(), Success);
}

TEST(ExceptionHandler, aHandlerThatCannotBeCopiedLeavesTheOneBefore)
{
    constexpr int asManyAsItTakes = 1000;
    int copies = 0;
    const std::function<bool(const wchar_t*)> hosts(CopiedHandler(copies, asManyAsItTakes));
    ExceptionHandler handler(noReport);
    handler.SetSendCrashDumpHandler([](const wchar_t*) { return true; });
    const auto before = crashSettings().sendCrashDump;
    copies = asManyAsItTakes;
    EXPECT_THROW(handler.SetSendCrashDumpHandler(hosts), std::runtime_error);
    EXPECT_EQ(crashSettings().sendCrashDump, before);
}

TEST(ExceptionHandler, virtualFunctionsKeepTheirSlots)
{
    EXPECT_EQ(virtualSlot(&ExceptionHandler::Initialize), 2U);
    EXPECT_EQ(virtualSlot(&ExceptionHandler::Terminate), 3U);
    EXPECT_EQ(virtualSlot(&ExceptionHandler::DumpDirectory), 4U);
    EXPECT_EQ(virtualSlot(&ExceptionHandler::SetDumpDirectory), 5U);
    EXPECT_EQ(virtualSlot(&ExceptionHandler::SetSendCrashDumpHandler), 6U);
}
