#include <brn_mesh_kernel/logging/ILogger.h>

#include <clocale>
#include <filesystem>
#include <fstream>
#include <locale>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Eventually.h"
#include "support/GroupingLocale.h"
#include "support/KernelFixture.h"
#include "support/VirtualSlot.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using ::testing::Contains;
using ::testing::ElementsAre;

namespace {

class ILoggerTest : public KernelFixture
{
};

// One character of each length in UTF-8, and one that needs two units in UTF-16.
constexpr const wchar_t* characters = L"a \u00fc \u20ac \U0001F600";
constexpr const char* charactersUtf8 = "a \xC3\xBC \xE2\x82\xAC \xF0\x9F\x98\x80";

// A C locale that knows letters outside ASCII. That of UTF-8 is not everywhere.
constexpr const char* localeOfLetters =
    std::filesystem::path::preferred_separator == '/' ? "C.UTF-8" : "English_United States.1252";

} // namespace

TEST_F(ILoggerTest, onlyLevelsFromTheLogLevelUpAreEnabled)
{
    initializeWithPlainLines();
    EXPECT_FALSE(logger().IsEnabled(Trace));
    EXPECT_FALSE(logger().IsEnabled(Debug));
    EXPECT_TRUE(logger().IsEnabled(Info));
    EXPECT_TRUE(logger().IsEnabled(Fatal));
}

TEST_F(ILoggerTest, theFormatIsLowerCasedAndArgumentsAreNot)
{
    initializeWithPlainLines();
    logger().Log(Info, L"Value %d of %S is %X", 5, L"Name", 255);
    EXPECT_THAT(logLines(), ElementsAre("value 5 of Name is ff"));
}

TEST_F(ILoggerTest, wideAndNarrowTextArrive)
{
    initializeWithPlainLines();
    logger().Log(Info, L"%s %ls %hs %c %hc", L"w", L"l", "n", L'c', 'h');
    EXPECT_THAT(logLines(), ElementsAre("w l n c h"));
}

TEST_F(ILoggerTest, aNullFormatDoesNothing)
{
    initializeWithPlainLines();
    logger().Log(Fatal, nullptr);
    logger().LogWithLocation(Fatal, "f", 1, "g", nullptr);
    EXPECT_EQ(console.text(), "");
    EXPECT_EQ(debugger.text(), "");
}

TEST_F(ILoggerTest, aDisabledRecordReachesNobody)
{
    initializeWithPlainLines();
    logger().Log(Debug, L"x");
    EXPECT_EQ(console.text(), "");
    EXPECT_EQ(debugger.text(), "");
    EXPECT_TRUE(logLines().empty());
}

TEST_F(ILoggerTest, theLayoutCanPrintTheLocation)
{
    kernel.SetLogMessageFormat(L"%F:%L %M %m%n");
    kernel.SetLogFilePath(wide(directory / "host.log").c_str());
    kernel.Initialize();
    logger().LogWithLocation(Info, "mesh.cpp", 42, "smooth", L"Done");
    EXPECT_THAT(logLines(), ElementsAre("mesh.cpp:42 smooth done"));
    EXPECT_EQ(debugger.text(), "[KVS_LOG] done\n");
}

TEST_F(ILoggerTest, everyCharacterArrivesAsUtf8UnderTheCLocale)
{
    ASSERT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    initializeWithPlainLines();
    logger().Log(Info, L"%s", characters);
    EXPECT_THAT(logLines(), ElementsAre(charactersUtf8));
    EXPECT_EQ(console.text(), charactersUtf8 + std::string("\n"));
    EXPECT_EQ(debugger.text(), debugger.shown("[KVS_LOG] " + std::string(charactersUtf8) + "\n"));
}

TEST_F(ILoggerTest, everyCharacterArrivesAsUtf8UnderALocaleOfMoreLetters)
{
    ASSERT_NE(std::setlocale(LC_ALL, localeOfLetters), nullptr);
    initializeWithPlainLines();
    logger().Log(Info, L"%s", characters);
    EXPECT_THAT(logLines(), ElementsAre(charactersUtf8));
    EXPECT_EQ(console.text(), charactersUtf8 + std::string("\n"));
}

TEST_F(ILoggerTest, lettersOutsideAsciiAreLowerCasedWhereTheCLocaleKnowsThem)
{
    ASSERT_NE(std::setlocale(LC_ALL, localeOfLetters), nullptr);
    initializeWithPlainLines();
    logger().Log(Info, L"\u00c4 %s", L"\u00c4");
    EXPECT_THAT(logLines(), ElementsAre("\xC3\xA4 \xC3\x84"));
}

TEST_F(ILoggerTest, theGlobalCppLocaleChangesNoText)
{
    const GlobalGroupingLocale locale;
    initializeWithPlainLines();
    logger().Log(Info, L"%s %d %.2f", characters, 1234567, 1.5);
    EXPECT_THAT(logLines(), ElementsAre(charactersUtf8 + std::string(" 1234567 1.50")));
}

TEST_F(ILoggerTest, textThatIsNoUnicodeGetsReplacementCharactersAndLoggingGoesOn)
{
    initializeWithPlainLines();
    const std::wstring invalid{L'<', static_cast<wchar_t>(0xDC00), L'>'};
    logger().Log(Info, L"%s", invalid.c_str());
    logger().Log(Info, L"%hs", "<\xFF>");
    logger().Log(Info, L"after");
    EXPECT_THAT(logLines(), ElementsAre("<\xEF\xBF\xBD>", "<\xEF\xBF\xBD>", "after"));
    EXPECT_EQ(console.text(), "<\xEF\xBF\xBD>\n<\xEF\xBF\xBD>\nafter\n");
}

TEST_F(ILoggerTest, aMebibyteOfTextArrivesWhole)
{
    initializeWithPlainLines();
    logger().Log(Info, L"<%s>", std::wstring(1 << 20, L'x').c_str());
    const std::string expected = '<' + std::string(1 << 20, 'x') + '>';
    EXPECT_TRUE(readText(directory / "host.log") == expected + '\n');
    EXPECT_TRUE(debugger.text() == debugger.shown("[KVS_LOG] " + expected + '\n'));
}

TEST_F(ILoggerTest, aLogFileNameOutsideAsciiWorks)
{
    initializeWithPlainLines("pr\xC3\xBC"
                             "fung \xF0\x9F\x98\x80.log");
    logger().Log(Info, L"x");
    EXPECT_EQ(readText(directory / "pr\xC3\xBC"
                                   "fung \xF0\x9F\x98\x80.log"),
              "x\n");
}

TEST_F(ILoggerTest, longTextOfPairsOfUnitsArrivesWhole)
{
    constexpr std::size_t count = 100'000;
    initializeWithPlainLines();
    std::wstring message = L"<";
    std::string expected = "<";
    for (std::size_t i = 0; i < count; ++i) {
        message += L"\U0001F600";
        expected += "\xF0\x9F\x98\x80";
    }
    logger().Log(Info, L"%s", message.c_str());
    expected += '\n';
    EXPECT_TRUE(readText(directory / "host.log") == expected);
    EXPECT_TRUE(console.text() == expected);
    EXPECT_TRUE(debugger.text() == debugger.shown("[KVS_LOG] " + expected));
}

TEST_F(ILoggerTest, theFileRollsOverAt10MebibytesIntoOneBackup)
{
    constexpr std::uintmax_t limit = 10'485'760;
    initializeWithPlainLines();
    const std::wstring record(99'999, L'x');
    for (int i = 0; i < 250; ++i) // 25 million bytes
        logger().Log(Info, L"%s", record.c_str());
    EXPECT_GT(std::filesystem::file_size(directory / "host.log.1"), limit);
    EXPECT_LE(std::filesystem::file_size(directory / "host.log.1"), limit + 100'000);
    EXPECT_LE(std::filesystem::file_size(directory / "host.log"), limit);
    EXPECT_FALSE(std::filesystem::exists(directory / "host.log.2"));
}

TEST_F(ILoggerTest, aFileWithANameOutsideAsciiRollsOver)
{
    const std::string name = "pr\xC3\xBC"
                             "fung \xF0\x9F\x98\x80.log";
    initializeWithPlainLines(name);
    const std::wstring record(99'999, L'x');
    for (int i = 0; i < 110; ++i) // 11 million bytes
        logger().Log(Info, L"%s", record.c_str());
    EXPECT_GT(std::filesystem::file_size(directory / (name + ".1")), 10'485'760U);
    EXPECT_LE(std::filesystem::file_size(directory / name), 1'000'000U);
}

// A folder that is not empty is in the backup's place.
TEST_F(ILoggerTest, aFullFileThatCannotBeRenamedKeepsItsRecordsAndGrows)
{
    std::filesystem::create_directories(directory / "host.log.1" / "occupied");
    initializeWithPlainLines();
    const std::wstring record(99'999, L'x');
    logger().Log(Info, L"first");
    for (int i = 0; i < 250; ++i) // 25 million bytes
        logger().Log(Info, L"%s", record.c_str());
    EXPECT_GE(std::filesystem::file_size(directory / "host.log"), 25'000'000U);
    EXPECT_EQ(readText(directory / "host.log").substr(0, 6), "first\n");
    std::filesystem::remove_all(directory / "host.log.1");
    for (int i = 0; i < 110; ++i) // 11 million bytes
        logger().Log(Info, L"%s", record.c_str());
    EXPECT_GT(std::filesystem::file_size(directory / "host.log.1"), 25'000'000U);
    EXPECT_LE(std::filesystem::file_size(directory / "host.log"), 10'485'760U);
}

TEST_F(ILoggerTest, aFileThatCannotBeOpenedLeavesTheConsole)
{
    kernel.SetLogMessageFormat(L"%m%n");
    kernel.SetLogFilePath(wide(directory / "missing" / "host.log").c_str());
    EXPECT_EQ(kernel.Initialize(), Success);
    logger().Log(Info, L"one");
    EXPECT_EQ(console.text(), "one\n");
    EXPECT_FALSE(std::filesystem::exists(directory / "missing"));
}

TEST_F(ILoggerTest, loggingToTheFileStartsOnceItCanBeOpened)
{
    kernel.SetLogMessageFormat(L"%m%n");
    kernel.SetLogFilePath(wide(directory / "missing" / "host.log").c_str());
    kernel.Initialize();
    logger().Log(Info, L"dropped");
    std::filesystem::create_directory(directory / "missing");
    EXPECT_TRUE(eventually([&] {
        logger().Log(Info, L"again");
        return readText(directory / "missing/host.log").find("again\n") != std::string::npos;
    }));
}

TEST(ILoggerClass, virtualFunctionsKeepTheirSlots)
{
    EXPECT_EQ(virtualSlot(&ILogger::IsEnabled), 2U);
    EXPECT_EQ(virtualSlot(&ILogger::LogWithLocation), 3U);
    EXPECT_EQ(virtualSlot(&ILogger::Log), 4U);
}
