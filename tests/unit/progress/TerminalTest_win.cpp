#include <cstddef>

#include <windows.h>

#include <gtest/gtest.h>

#include <brn_console/Terminal.h>

using namespace Brennic::Core;

// A console's own behaviour needs one, and somebody at its keyboard.
TEST(Terminal, theNullDeviceIsNoneAndHasTheUsualWidth)
{
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    const HANDLE null = CreateFileW(L"NUL", GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(null, INVALID_HANDLE_VALUE);
    SetStdHandle(STD_OUTPUT_HANDLE, null);
    const bool isTerminal = isOutputATerminal();
    const std::size_t width = terminalWidth();
    SetStdHandle(STD_OUTPUT_HANDLE, output);
    CloseHandle(null);
    EXPECT_FALSE(isTerminal); // though it is a character device as a console is
    EXPECT_EQ(width, 80U);
}
