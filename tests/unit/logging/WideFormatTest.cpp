#include <brn_mesh_kernel/logging/WideFormat.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

using Brennic::Core::formatWide;

namespace {

std::wstring formatted(const wchar_t* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::wstring text = formatWide(format, arguments, ENOENT);
    va_end(arguments);
    return text;
}

} // namespace

TEST(WideFormat, textWithoutConversionsIsCopied)
{
    EXPECT_EQ(formatted(L""), L"");
    EXPECT_EQ(formatted(L"plain \u20ac text"), L"plain \u20ac text");
}

TEST(WideFormat, stringsAreWideUnlessMarkedNarrow)
{
    EXPECT_EQ(formatted(L"%s %ls %hs", L"w\u00fc", L"l\u00fc", "n\xC3\xBC"), L"w\u00fc l\u00fc n\u00fc");
}

TEST(WideFormat, charactersAreWideUnlessMarkedNarrow)
{
    EXPECT_EQ(formatted(L"%c%lc%hc", L'\u20ac', L'\u00fc', 'n'), L"\u20ac\u00fcn");
}

TEST(WideFormat, aNullStringPrintsNull)
{
    EXPECT_EQ(formatted(L"%s|%hs|%8ls", nullptr, nullptr, nullptr), L"(null)|(null)|  (null)");
}

TEST(WideFormat, aBrokenCharacterOfNarrowTextTakesNoOtherWithIt)
{
    EXPECT_EQ(formatted(L"%hs", "<\xC3>"), L"<\uFFFD>");
    EXPECT_EQ(formatted(L"%hs", "<\xE2\x82>"), L"<\uFFFD>");
    EXPECT_EQ(formatted(L"%hs", "\xF0\x9F\x98\xC3\xBC"), L"\uFFFD\u00fc");
    EXPECT_EQ(formatted(L"%hs", "\xC3"), L"\uFFFD");
    EXPECT_EQ(formatted(L"%hs", "\x80\xBF|"), L"\uFFFD\uFFFD|");
}

TEST(WideFormat, formsOfUtf8ThatAreForbiddenAreReplaced)
{
    EXPECT_EQ(formatted(L"%hs", "\xC1\x81|"), L"\uFFFD\uFFFD|");                     // longer than needed
    EXPECT_EQ(formatted(L"%hs", "\xE0\x9F\xBF|"), L"\uFFFD\uFFFD\uFFFD|");           // the same
    EXPECT_EQ(formatted(L"%hs", "\xED\xA0\x80|"), L"\uFFFD\uFFFD\uFFFD|");           // half a pair
    EXPECT_EQ(formatted(L"%hs", "\xF4\x90\x80\x80|"), L"\uFFFD\uFFFD\uFFFD\uFFFD|"); // above the last one
    EXPECT_EQ(formatted(L"%hs", "\xEE\x80\x80 \xED\x9F\xBF \xF4\x8F\xBF\xBF \xF0\x90\x80\x80"),
              L"\ue000 \ud7ff \U0010FFFF \U00010000");
}

TEST(WideFormat, narrowTextThatIsNoUtf8GetsReplacementCharacters)
{
    EXPECT_EQ(formatted(L"<%hs>", "a\xFF"
                                  "b"),
              L"<a\uFFFDb>");
    EXPECT_EQ(formatted(L"<%hc>", '\xE9'), L"<\uFFFD>");
}

TEST(WideFormat, widthPadsAndMinusJustifiesLeft)
{
    EXPECT_EQ(formatted(L"[%5s][%-5s][%3c][%-3hc]", L"ab", L"ab", L'c', 'd'), L"[   ab][ab   ][  c][d  ]");
    EXPECT_EQ(formatted(L"[%5d][%-5d][%05d][%+d][% d]", 42, 42, 42, 42, 42),
              L"[   42][42   ][00042][+42][ 42]");
}

TEST(WideFormat, precisionLimitsStrings)
{
    EXPECT_EQ(formatted(L"%.2s|%.2hs|%.0s|%5.1s|", L"abc", "abc", L"abc", L"abc"), L"ab|ab||    a|");
}

TEST(WideFormat, precisionAllowsStringsWithoutTerminator)
{
    const wchar_t wide[] = {L'a', L'b', L'c'};
    const char narrow[] = {'x', 'y', 'z'};
    EXPECT_EQ(formatted(L"%.3s %.*hs", wide, 3, narrow), L"abc xyz");
}

TEST(WideFormat, precisionOfNarrowTextNeverShowsPartOfACharacter)
{
    EXPECT_EQ(formatted(L"%.3hs|", "a\xC3\xBC\xC3\xBC"), L"a\u00fc|");
    EXPECT_EQ(formatted(L"%.2hs|", "a\xC3\xBC"), L"a|");
    EXPECT_EQ(formatted(L"%.3hs|", "\xF0\x9F\x98\x80"), L"|");
    EXPECT_EQ(formatted(L"%.4hs|", "\xF0\x9F\x98\x80"), L"\U0001F600|");
}

TEST(WideFormat, widthAndPrecisionCanBeArguments)
{
    EXPECT_EQ(formatted(L"[%*d][%-*d][%*s]", 4, 7, 4, 7, -3, L"x"), L"[   7][7   ][x  ]");
    EXPECT_EQ(formatted(L"[%.*f][%.*f][%.*s]", 2, 1.239, -1, 0.5, -1, L"all"), L"[1.24][0.500000][all]");
}

TEST(WideFormat, integersOfEveryLengthArePrinted)
{
    EXPECT_EQ(formatted(L"%hhd %hd %d %ld %lld", 257, 65537, -5, -6L, -7LL), L"1 1 -5 -6 -7");
    EXPECT_EQ(formatted(L"%hhu %hu %u %lu %llu", 257U, 65537U, 5U, 6UL, UINT64_MAX),
              L"1 1 5 6 18446744073709551615");
    EXPECT_EQ(formatted(L"%zu %zd %jd %ju %td", std::size_t{8}, std::ptrdiff_t{-8}, std::intmax_t{-9},
                        std::uintmax_t{9}, std::ptrdiff_t{-10}),
              L"8 -8 -9 9 -10");
    EXPECT_EQ(formatted(L"%i %x %o %#x %.3d", -1, 255U, 8U, 255U, 7), L"-1 ff 10 0xff 007");
}

TEST(WideFormat, floatingPointNumbersArePrinted)
{
    EXPECT_EQ(formatted(L"%.3f %e %g %.2g %a", 1.5, 1234.5, 0.0001, 1234.5, 1.0),
              L"1.500 1.234500e+03 0.0001 1.2e+03 0x1p+0");
}

TEST(WideFormat, pointersArePrinted)
{
    EXPECT_EQ(formatted(L"%p %8p", reinterpret_cast<void*>(0x1234ABCD), reinterpret_cast<void*>(0x1F)),
              L"0x1234abcd     0x1f");
    EXPECT_EQ(formatted(L"%p", static_cast<void*>(nullptr)), L"(nil)");
}

TEST(WideFormat, aPercentSignIsWritten)
{
    EXPECT_EQ(formatted(L"100%% of %d%%", 5), L"100% of 5%");
}

TEST(WideFormat, numbersHaveNoLengthLimit)
{
    EXPECT_EQ(formatted(L"%100000d", 5), std::wstring(99999, L' ') + L"5");
    EXPECT_EQ(formatted(L"%.2000f", 1.0), L"1." + std::wstring(2000, L'0'));
    EXPECT_EQ(formatted(L"%f", 1e308).size(), 309U + 7U);
}

TEST(WideFormat, aWidthThatMakesNoSenseTakesNoMemory)
{
    EXPECT_EQ(formatted(L"%100000000d", 5).size(), 1'000'000U);
    EXPECT_EQ(formatted(L"%*s", -100'000'000, L"x").size(), 1'000'000U);
    EXPECT_EQ(formatted(L"%.100000000d", 5).size(), 1'000'000U);
    EXPECT_EQ(formatted(L"%.100000000f", 0.5).size(), 1'000'002U);
}

TEST(WideFormat, anUnknownConversionIsCopiedAloneAndTakesNoArgument)
{
    EXPECT_EQ(formatted(L"%d %y %s", 1, L"two"), L"1 %y two");
    EXPECT_EQ(formatted(L"100%\n%-5k|%s", L"end"), L"100%\n%-5k|end");
}

TEST(WideFormat, argumentsCanHavePositions)
{
    EXPECT_EQ(formatted(L"%2$s of %1$d", 3, L"two"), L"two of 3");
    EXPECT_EQ(formatted(L"%1$s %1$s %2$hs %1$.1s", L"wide", "narrow"), L"wide wide narrow w");
    EXPECT_EQ(formatted(L"%3$lld %2$.1f %1$c", L'c', 2.5, -5'000'000'000LL), L"-5000000000 2.5 c");
    EXPECT_EQ(formatted(L"[%1$*2$d][%3$.*2$f]", 7, 4, 0.5), L"[   7][0.5000]");
    EXPECT_EQ(formatted(L"%2$s 100%%", 1, L"after one that nothing refers to"),
              L"after one that nothing refers to 100%");
}

TEST(WideFormat, whatDisagreesWithThePositionsIsCopied)
{
    EXPECT_EQ(formatted(L"%1$s %d %s", L"x"), L"x %d %s");
    EXPECT_EQ(formatted(L"%d %1$d", 5), L"5 %1$d");
    EXPECT_EQ(formatted(L"%1$d %1$s", 5), L"5 %1$s");
    EXPECT_EQ(formatted(L"%0$d %99999999999$d %1$d", 5), L"%0$d %99999999999$d 5");
}

TEST(WideFormat, theErrorOfTheCallerIsDescribed)
{
    const std::string text = std::generic_category().message(ENOENT);
    const std::wstring wide(text.begin(), text.end());
    EXPECT_EQ(formatted(L"cannot open: %m (%d)", 5), L"cannot open: " + wide + L" (5)");
    EXPECT_EQ(formatted(L"%.2m|", 0), wide.substr(0, 2) + L"|");
}

TEST(WideFormat, digitsCanBeGrouped)
{
    EXPECT_EQ(formatted(L"%'d %'.1f", 1234567, 1234.5),
              L"1234567 1234.5"); // by the C locale, which does not group
}

TEST(WideFormat, theCharacterZeroIsShownByItsSign)
{
    EXPECT_EQ(formatted(L"a%cb%hc%3c.", 0, 0, 0), L"a\u2400b\u2400  \u2400.");
}

TEST(WideFormat, anUnfinishedConversionIsCopied)
{
    EXPECT_EQ(formatted(L"50%"), L"50%");
    EXPECT_EQ(formatted(L"end %-5.2l"), L"end %-5.2l");
}

TEST(WideFormat, theStoringConversionStoresNothing)
{
    int stored = 7;
    EXPECT_EQ(formatted(L"a%nb%d", &stored, 3), L"ab3");
    EXPECT_EQ(stored, 7);
}

TEST(WideFormat, aMebibyteOfTextArrivesWhole)
{
    const std::wstring text(1 << 20, L'\u00fc');
    EXPECT_EQ(formatted(L"<%s>", text.c_str()), L"<" + text + L">");
}
