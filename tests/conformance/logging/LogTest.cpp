#include <brn_mesh_kernel/logging/Log.h>

#include <cerrno>
#include <cmath>
#include <filesystem>
#include <map>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QString>
#include <QStringView>

#include <fmt/ranges.h>

#include "support/GroupingLocale.h"
#include "support/KernelFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

class LogTest : public KernelFixture
{
};

// One character of each length in UTF-8, and one that needs two units in UTF-16.
constexpr const wchar_t* characters = L"A \u00dc \u20ac \U0001F600";
constexpr const char* charactersUtf8 = "A \xC3\x9C \xE2\x82\xAC \xF0\x9F\x98\x80";
constexpr const char* replacement = "\xEF\xBF\xBD";

// A type of the host.
struct Point
{
    int x;
    int y;
};

// Types that fmt cannot write at this moment.
struct Unwilling
{
};
struct Rude
{
};
struct Memoryless
{
};

// One that logs while it is written.
struct Chatty
{
};

} // namespace

template <>
struct fmt::formatter<Point> : fmt::formatter<int>
{
    template <typename Context>
    auto format(const Point& point, Context& context) const
    {
        return fmt::format_to(context.out(), "({}, {})", point.x, point.y);
    }
};

template <>
struct fmt::formatter<Unwilling> : fmt::formatter<int>
{
    template <typename Context>
    auto format(const Unwilling& /*unused*/, Context& context) const -> decltype(context.out())
    {
        throw std::runtime_error("no wish to be written");
    }
};

template <>
struct fmt::formatter<Rude> : fmt::formatter<int>
{
    template <typename Context>
    auto format(const Rude& /*unused*/, Context& context) const -> decltype(context.out())
    {
        throw 7; // NOLINT: what formatters of hosts may do
    }
};

template <>
struct fmt::formatter<Memoryless> : fmt::formatter<int>
{
    template <typename Context>
    auto format(const Memoryless& /*unused*/, Context& context) const -> decltype(context.out())
    {
        throw std::bad_alloc();
    }
};

template <>
struct fmt::formatter<Chatty> : fmt::formatter<int>
{
    template <typename Context>
    auto format(const Chatty& /*unused*/, Context& context) const
    {
        BRN_LOG(Info, "from inside {}", 1);
        return fmt::format_to(context.out(), "chatty");
    }
};

TEST_F(LogTest, theTextIsFormattedByFmtAndKeepsItsCase)
{
    initializeWithPlainLines();
    const std::string name = "Bunny";
    const int count = 34834;
    BRN_LOG(Info, "{} has {} Vertices, {:.2f} % and {:#X}", name, count, 12.345, 255);
    EXPECT_THAT(logLines(), ElementsAre("Bunny has 34834 Vertices, 12.35 % and 0XFF"));
    EXPECT_EQ(console.text(), "Bunny has 34834 Vertices, 12.35 % and 0XFF\n");
    EXPECT_EQ(debugger.text(), "[KVS_LOG] Bunny has 34834 Vertices, 12.35 % and 0XFF\n");
}

TEST_F(LogTest, aFormatNeedsNoArguments)
{
    initializeWithPlainLines();
    BRN_LOG(Info, "Ready at 100 %");
    BRN_LOG(Info, "{{}}");
    EXPECT_THAT(logLines(), ElementsAre("Ready at 100 %", "{}"));
}

TEST_F(LogTest, percentSignsInFormatsAndArgumentsAreText)
{
    initializeWithPlainLines();
    BRN_LOG(Info, "%s %d {}", "%n %hs");
    EXPECT_THAT(logLines(), ElementsAre("%s %d %n %hs"));
}

TEST_F(LogTest, itIsOneStatement)
{
    initializeWithPlainLines();
    if (logLines().empty())
        BRN_LOG(Info, "then");
    else
        BRN_LOG(Info, "else");
    EXPECT_THAT(logLines(), ElementsAre("then"));
}

TEST_F(LogTest, structuredBindingsTemporariesAndCommasInBracketsAreArguments)
{
    initializeWithPlainLines();
    const auto [first, second] = std::pair<int, std::wstring>(1, L"two");
    BRN_LOG(Info, "{} {} {}", first, second, (std::pair<int, int>(3, 4).second));
    EXPECT_THAT(logLines(), ElementsAre("1 two 4"));
}

TEST_F(LogTest, wideTextOfEveryKindArrives)
{
    initializeWithPlainLines();
    const std::wstring text = characters;
    const wchar_t array[] = L"array";
    BRN_LOG(Info, "{} {} {} {} {}", text, text.c_str(), std::wstring_view(text).substr(0, 3), array,
            L'\u20ac');
    EXPECT_THAT(logLines(), ElementsAre(std::string(charactersUtf8) + ' ' + charactersUtf8 +
                                        " A \xC3\x9C array \xE2\x82\xAC"));
}

TEST_F(LogTest, textOfQtArrives)
{
    initializeWithPlainLines();
    const QString text = QString::fromWCharArray(characters);
    BRN_LOG(Info, "{} {}", text, QStringView(text).left(3));
    EXPECT_THAT(logLines(), ElementsAre(std::string(charactersUtf8) + " A \xC3\x9C"));
}

TEST_F(LogTest, aPathArrivesAsItIsAndWithoutQuotes)
{
    initializeWithPlainLines();
    BRN_LOG(Info, "{}", std::filesystem::u8path("A place/" + std::string(charactersUtf8)));
    EXPECT_THAT(logLines(), ElementsAre("A place/" + std::string(charactersUtf8)));
}

TEST_F(LogTest, narrowTextIsUtf8)
{
    initializeWithPlainLines();
    const std::string text = charactersUtf8;
    BRN_LOG(Info, "{} {} {}", text, text.c_str(), std::string_view(text).substr(0, 4));
    EXPECT_THAT(logLines(), ElementsAre(text + ' ' + text + " A \xC3\x9C"));
}

TEST_F(LogTest, nullStringsArePrintedAsThat)
{
    initializeWithPlainLines();
    BRN_LOG(Info, "{} {}", static_cast<const char*>(nullptr), static_cast<const wchar_t*>(nullptr));
    EXPECT_THAT(logLines(), ElementsAre("(null) (null)"));
}

TEST_F(LogTest, textIsPaddedAndCutByCharacters)
{
    initializeWithPlainLines();
    BRN_LOG(Info, "<{:>4}> <{:.1}> <{:-<3}>", L"\u20ac", QString(QChar(0x20ac)) + QChar(u'x'), L'a');
    EXPECT_THAT(logLines(), ElementsAre("<   \xE2\x82\xAC> <\xE2\x82\xAC> <a-->"));
}

TEST_F(LogTest, whateverFmtFormatsIsAnArgument)
{
    initializeWithPlainLines();
    const std::vector<int> list{1, 2};
    BRN_LOG(Info, "{} {} {} {}", Point{1, -2}, list, true, std::map<std::string, int>{{"a", 1}});
    EXPECT_THAT(logLines(), ElementsAre("(1, -2) [1, 2] true {\"a\": 1}"));
}

TEST_F(LogTest, aJoinedRangeIsAnArgument)
{
    initializeWithPlainLines();
    const std::vector<int> counts{1, 2, 3};
    BRN_LOG(Info, "{} and {:.1f}", fmt::join(counts, ", "), fmt::join({0.5, 1.0}, "; "));
    EXPECT_THAT(logLines(), ElementsAre("1, 2, 3 and 0.5; 1.0"));
}

TEST_F(LogTest, argumentsOfTheFunctionMayHaveNames)
{
    initializeWithPlainLines();
    log(Info, fmt::runtime("{count} of {total}"), fmt::arg("total", 3), fmt::arg("count", 2));
    EXPECT_THAT(logLines(), ElementsAre("2 of 3"));
}

TEST_F(LogTest, textThatIsNoUnicodeGetsReplacementCharacters)
{
    initializeWithPlainLines();
    const std::wstring half{L'<', static_cast<wchar_t>(0xD83D), L'>'};
    const std::wstring otherHalf{L'<', static_cast<wchar_t>(0xDE00), L'>'};
    BRN_LOG(Info, "{} {}", half, otherHalf);
    BRN_LOG(Info, "{}", QString(QChar(0xD83D)) + QChar(u'>'));
    BRN_LOG(Info, "{}", "<\xFF>");
    BRN_LOG(Info, "<\xC3> {}", 1);
    BRN_LOG(Info, "<{:4}> {:.2}", "\xFF", "\xE2\x82");
    BRN_LOG(Info, "after");
    const std::string bad = replacement;
    const std::vector<std::string> lines = logLines();
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[0], '<' + bad + "> <" + bad + '>');
    EXPECT_EQ(lines[1], bad + '>');
    EXPECT_EQ(lines[2], '<' + bad + '>');
    EXPECT_EQ(lines[3], '<' + bad + "> 1");
    EXPECT_THAT(lines[4], HasSubstr(bad));
    EXPECT_EQ(lines[5], "after");
}

TEST_F(LogTest, theCharacterZeroDoesNotEndTheRecord)
{
    initializeWithPlainLines();
    BRN_LOG(Info, "{}|{}", std::string("a\0b", 3), std::wstring(L"c\0d", 3));
    EXPECT_THAT(logLines(), ElementsAre("a\xE2\x90\x80"
                                        "b|c\xE2\x90\x80"
                                        "d"));
}

TEST_F(LogTest, aMebibyteOfTextArrivesWhole)
{
    initializeWithPlainLines();
    BRN_LOG(Info, "<{}>", std::wstring(1 << 20, L'X'));
    EXPECT_TRUE(readText(directory / "host.log") == '<' + std::string(1 << 20, 'X') + ">\n");
}

TEST_F(LogTest, theGlobalCppLocaleChangesNoText)
{
    const GlobalGroupingLocale locale;
    initializeWithPlainLines();
    BRN_LOG(Info, "{} {:.2f} {}", 1234567, 1.5, characters);
    EXPECT_THAT(logLines(), ElementsAre(std::string("1234567 1.50 ") + charactersUtf8));
}

TEST_F(LogTest, theLayoutCanPrintTheLocation)
{
    kernel.SetLogMessageFormat(L"%b:%L %m%n");
    kernel.SetLogFilePath(wide(directory / "host.log").c_str());
    kernel.Initialize();
    const int line = __LINE__ + 1;
    BRN_LOG(Info, "here");
    EXPECT_THAT(logLines(), ElementsAre("LogTest.cpp:" + std::to_string(line) + " here"));
}

TEST_F(LogTest, aDisabledLevelWritesNothingAndEvaluatesNothing)
{
    initializeWithPlainLines();
    int evaluated = 0;
    const auto evaluate = [&evaluated] { return ++evaluated; };
    BRN_LOG(Debug, "{}", evaluate());
    BRN_LOG_TO(logger(), Debug, "{}", evaluate());
    EXPECT_EQ(evaluated, 0);
    EXPECT_TRUE(logLines().empty());
    EXPECT_EQ(console.text(), "");
    kernel.SetLogLevel(Debug);
    BRN_LOG(Debug, "{}", evaluate());
    EXPECT_THAT(logLines(), ElementsAre("1"));
}

TEST_F(LogTest, theLevelIsEvaluatedOnce)
{
    initializeWithPlainLines();
    int evaluated = 0;
    const auto level = [&evaluated] {
        ++evaluated;
        return Warn;
    };
    BRN_LOG(level(), "x");
    EXPECT_EQ(evaluated, 1);
    EXPECT_THAT(logLines(), ElementsAre("x"));
}

TEST_F(LogTest, nothingIsEvaluatedBeforeInitializeAndAfterTerminate)
{
    int evaluated = 0;
    const auto evaluate = [&evaluated] { return ++evaluated; };
    BRN_LOG(Fatal, "{}", evaluate());
    initializeWithPlainLines();
    BRN_LOG(Fatal, "between {}", evaluate());
    kernel.Terminate();
    BRN_LOG(Fatal, "{}", evaluate());
    EXPECT_EQ(evaluated, 1);
    EXPECT_THAT(logLines(), ElementsAre("between 1"));
}

TEST_F(LogTest, whatAFormatterThrowsStaysInsideAndOneRecordSaysSo)
{
    initializeWithPlainLines();
    BRN_LOG(Info, "a {} b", Unwilling());
    BRN_LOG(Warn, "c {}", Rude());
    BRN_LOG(Info, "d {}", Memoryless());
    BRN_LOG(Info, "after");
    const std::vector<std::string> lines = logLines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], "this record could not be formatted: no wish to be written; its format is: a {} b");
    EXPECT_EQ(lines[1],
              "this record could not be formatted: an exception of unknown type; its format is: c {}");
    EXPECT_THAT(lines[2], HasSubstr("; its format is: d {}"));
    EXPECT_EQ(lines[3], "after");
}

TEST_F(LogTest, aWidthThatTurnsOutToBeWrongCostsItsRecordOnly)
{
    initializeWithPlainLines();
    int width = -3;
    BRN_LOG(Info, "<{:{}}>", 1, width);
    BRN_LOG(Info, "after");
    const std::vector<std::string> lines = logLines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], HasSubstr("its format is: <{:{}}>"));
    EXPECT_EQ(lines[1], "after");
}

TEST_F(LogTest, whatEvaluatingAnArgumentThrowsReachesTheCaller)
{
    initializeWithPlainLines();
    const auto fail = []() -> int { throw std::out_of_range("argument"); };
    EXPECT_THROW(BRN_LOG(Info, "{}", fail()), std::out_of_range);
    EXPECT_TRUE(logLines().empty());
}

TEST_F(LogTest, anArgumentMayLogWhileItIsWritten)
{
    initializeWithPlainLines();
    BRN_LOG(Info, "{}", Chatty());
    EXPECT_THAT(logLines(), ElementsAre("from inside 1", "chatty"));
}

TEST_F(LogTest, errnoIsLeftAlone)
{
    initializeWithPlainLines();
    errno = ENOENT;
    BRN_LOG(Info, "{}", 1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(LogTest, theFunctionTakesFormatsThatAreHandedOn)
{
    initializeWithPlainLines();
    log(Info, FMT_STRING("{} is {}"), std::wstring(L"Checked"), 1);
    log(Info, "{} is {}", QString(QStringLiteral("Plain")), 2);
    log(Info, "nothing else");
    log(Debug, "{}", 3);
    EXPECT_THAT(logLines(), ElementsAre("Checked is 1", "Plain is 2", "nothing else"));
}

TEST_F(LogTest, theMathematicalLogStaysUsable)
{
    EXPECT_EQ(log(1.0), 0.0); // with Brennic::Core::log in sight
}

TEST_F(LogTest, aFormatOfTheFunctionThatTurnsOutToBeWrongCostsItsRecordOnly)
{
    initializeWithPlainLines();
    log(Info, fmt::runtime("{} {}"), 1);
    log(Info, fmt::runtime("{:d}"), "text");
    log(Info, "after");
    const std::vector<std::string> lines = logLines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], HasSubstr("could not be formatted: argument not found; its format is: {} {}"));
    EXPECT_THAT(lines[1], HasSubstr("its format is: {:d}"));
    EXPECT_EQ(lines[2], "after");
}

TEST_F(LogTest, anyLoggerCanBeNamed)
{
    class RecordingLogger final : public ILogger
    {
    public:
        bool IsEnabled(EKvsLogLevel level) override { return level >= Warn; }
        void LogWithLocation(EKvsLogLevel level, const char* /*file*/, int /*line*/, const char* function,
                             const wchar_t* format, ...) override
        {
            records.push_back(std::to_string(level) + ' ' + function);
            isNarrowText = std::wstring_view(format) == L"%hs";
        }
        void Log(EKvsLogLevel /*level*/, const wchar_t* /*format*/, ...) override {}

        std::vector<std::string> records;
        bool isNarrowText = false;
    };
    RecordingLogger own;
    BRN_LOG_TO(own, Info, "below {}", 1);
    BRN_LOG_TO(own, Error, "above {}", 2);
    EXPECT_THAT(own.records, ElementsAre("40000 TestBody"));
    EXPECT_TRUE(own.isNarrowText);
}

TEST_F(LogTest, recordsOfManyThreadsArriveWhole)
{
    initializeWithPlainLines();
    constexpr int threadCount = 4;
    constexpr int recordCount = 250;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([thread] {
            for (int record = 0; record < recordCount; ++record)
                BRN_LOG(Info, "{}: {} {}", thread, record, L"Wide");
        });
    for (std::thread& thread : threads)
        thread.join();
    std::vector<int> next(threadCount, 0);
    for (const std::string& line : logLines()) {
        const int thread = line.at(0) - '0';
        EXPECT_EQ(line, fmt::format("{}: {} Wide", thread, next.at(static_cast<std::size_t>(thread))++));
    }
    EXPECT_THAT(next, ::testing::Each(recordCount));
}
