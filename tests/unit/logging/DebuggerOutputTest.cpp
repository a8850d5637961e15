#include <brn_mesh_kernel/logging/DebuggerOutput.h>

#include <gtest/gtest.h>

#include "support/CapturedDebugger.h"

using Brennic::Core::writeDebuggerLine;
using namespace Brennic::Testing;

TEST(DebuggerOutput, aLineIsThePrefixTheMessageAndALineFeed)
{
    const CapturedDebugger debugger;
    writeDebuggerLine(L"Gr\u00fc\u00dfe \U0001F600 %s");
    EXPECT_EQ(debugger.text(), debugger.shown("[KVS_LOG] Gr\xC3\xBC\xC3\x9F"
                                              "e \xF0\x9F\x98\x80 %s\n"));
}

TEST(DebuggerOutput, whatIsNoUnicodeIsReplaced)
{
    const CapturedDebugger debugger;
    writeDebuggerLine({L'<', static_cast<wchar_t>(0xD800), L'>'});
    EXPECT_EQ(debugger.text(), debugger.shown("[KVS_LOG] <\xEF\xBF\xBD>\n"));
}
