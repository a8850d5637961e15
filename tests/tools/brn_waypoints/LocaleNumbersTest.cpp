#include <brn_waypoints/LocaleNumbers.h>

#include <gtest/gtest.h>

using Brennic::Waypoints::LocaleNumbers;

namespace {

std::optional<double> integer(const char* text)
{
    return LocaleNumbers().integer(QString::fromUtf8(text));
}

std::optional<double> seconds(const char* text)
{
    return LocaleNumbers().seconds(QString::fromUtf8(text));
}

// What the text means where the report has these other numbers.
std::optional<double> secondsBeside(const char* text, const char* otherInteger, const char* otherSeconds)
{
    LocaleNumbers numbers;
    for (const char* const each : {text, otherSeconds})
        numbers.learnSeconds(QString::fromUtf8(each));
    numbers.learnInteger(QString::fromUtf8(otherInteger));
    return numbers.seconds(QString::fromUtf8(text));
}

} // namespace

TEST(LocaleNumbers, plainNumbersAreRead)
{
    EXPECT_EQ(integer("0"), 0);
    EXPECT_EQ(integer("-2147483648"), -2147483648.0);
    EXPECT_EQ(seconds("12"), 12);
    EXPECT_EQ(seconds("1.234"), 1.234);
    EXPECT_EQ(seconds("-0.012"), -0.012);
    EXPECT_EQ(seconds("1000000000000.001"), 1000000000000.001);
}

TEST(LocaleNumbers, groupsOfDigitsBelongTogetherWhateverSeparatesThem)
{
    for (const char* const text : {"1.234.567", "1,234,567", "1'234'567", "1 234 567",
                                   "1\xC2\xA0"
                                   "234\xC2\xA0"
                                   "567"})
        EXPECT_EQ(integer(text), 1234567) << text;
    EXPECT_EQ(integer("-12,34,567"), -1234567);
    EXPECT_EQ(seconds("1.234.567"), 1234567);
}

TEST(LocaleNumbers, theLastOfTwoSeparatorsIsTheDecimalPoint)
{
    EXPECT_EQ(seconds("1.234,5"), 1234.5);
    EXPECT_EQ(seconds("1,234.567"), 1234.567);
    EXPECT_EQ(seconds("1'234'567.8"), 1234567.8);
}

TEST(LocaleNumbers, aLoneSeparatorIsADecimalPointUnlessItCannotBe)
{
    EXPECT_EQ(seconds("1,234"), 1.234);
    EXPECT_EQ(seconds("0,123"), 0.123);
    EXPECT_EQ(seconds("1234,567"), 1234.567);
    EXPECT_EQ(secondsBeside("1,230", "0", "0"), 1230); // decimals do not end in a zero
}

TEST(LocaleNumbers, theReportsOtherNumbersTellWhatASeparatorIs)
{
    EXPECT_EQ(secondsBeside("1.234", "5.767.168", "0"), 1234);
    EXPECT_EQ(secondsBeside("1,234", "5.767.168", "0"), 1.234);
    EXPECT_EQ(secondsBeside("1.234", "0", "0,5"), 1234);
    EXPECT_EQ(secondsBeside("1.234", "0", "0.5"), 1.234);
    EXPECT_EQ(secondsBeside("1.234", "0", "2.345,6"), 1234);
    EXPECT_EQ(secondsBeside("1.234", "0", "2.345.678"), 1234);
}

TEST(LocaleNumbers, whatIsNoNumberIsNotRead)
{
    for (const char* const text : {"", "-", "--1", "+1", "1.", ".1", "1..2", "one", "1e5", "0x10", "nan",
                                   "inf", "1 ", " 1", "1.234,567,8", "1,2.3,4"}) {
        EXPECT_EQ(integer(text), std::nullopt) << text;
        EXPECT_EQ(seconds(text), std::nullopt) << text;
    }
    EXPECT_EQ(integer("1.234,5"), std::nullopt);
    EXPECT_EQ(seconds("1,234x5"), std::nullopt);
}
