#include <brn_waypoints/TextTable.h>

#include <gtest/gtest.h>

#include <brn_console/DisplayWidth.h>

using Brennic::Core::cutToWidth;
using Brennic::Core::displayWidth;
using Brennic::Waypoints::TextTable;

namespace {

QString utf8(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

TEST(TextTable, namesStandLeftAndNumbersRight)
{
    TextTable table({utf8("name"), utf8("n"), utf8("seconds")});
    table.addRow({utf8("Load"), utf8("1"), utf8("0.5")});
    table.addRow({utf8("Smoothing"), utf8("100"), utf8("12.5")});
    EXPECT_EQ(table.text().toStdString(), "name         n  seconds\n"
                                          "Load         1      0.5\n"
                                          "Smoothing  100     12.5\n");
}

TEST(TextTable, columnsAreAlignedByWhatIsSeen)
{
    TextTable table({utf8("name"), utf8("n")});
    table.addRow({utf8("Gl\xC3\xA4tten"), utf8("1")});
    table.addRow({utf8("\xE7\xB6\xB2\xE6\xA0\xBC"), utf8("2")}); // two wide characters
    table.addRow({utf8("e\xCC\x81t\xC3\xA9"), utf8("3")});       // an accent of its own
    table.addRow({utf8("\xF0\x9F\x98\x80"), utf8("4")});         // an emoji
    EXPECT_EQ(table.text().toStdString(), "name     n\n"
                                          "Gl\xC3\xA4tten  1\n"
                                          "\xE7\xB6\xB2\xE6\xA0\xBC     2\n"
                                          "e\xCC\x81t\xC3\xA9      3\n"
                                          "\xF0\x9F\x98\x80       4\n");
}

TEST(TextTable, aLongNameIsCut)
{
    TextTable table({utf8("name"), utf8("n")});
    table.addRow({QString(100, QLatin1Char('x')), utf8("1")});
    EXPECT_EQ(table.text().toStdString(),
              "name" + std::string(56, ' ') + "  n\n" + std::string(59, 'x') + "\xE2\x80\xA6  1\n");
}

TEST(DisplayWidth, countsColumnsAndNoCharacters)
{
    EXPECT_EQ(displayWidth(utf8("")), 0);
    EXPECT_EQ(displayWidth(utf8("abc")), 3);
    EXPECT_EQ(displayWidth(utf8("\xEA\xB0\x80\xEF\xBC\xA1")), 4); // Hangul, full-width A
    EXPECT_EQ(displayWidth(utf8("a\xE2\x80\x8D")), 1);            // a joiner
}

TEST(DisplayWidth, aCutNeverSplitsACharacter)
{
    const QString text = utf8("a\xE7\xB6\xB2\xF0\x9F\x98\x80");
    EXPECT_EQ(cutToWidth(text, 0), utf8(""));
    EXPECT_EQ(cutToWidth(text, 2), utf8("a"));
    EXPECT_EQ(cutToWidth(text, 3), utf8("a\xE7\xB6\xB2"));
    EXPECT_EQ(cutToWidth(text, 4), utf8("a\xE7\xB6\xB2"));
    EXPECT_EQ(cutToWidth(text, 5), text);
}
