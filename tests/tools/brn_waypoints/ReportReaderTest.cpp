#include <brn_waypoints/ReportReader.h>

#include <limits>
#include <locale>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <brn_mesh_kernel/diagnostics/WaypointReport.h>

#include "support/Files.h"
#include "support/TemporaryDirectory.h"
#include "tools/brn_waypoints/ReportsFixture.h"

using namespace Brennic;
using namespace Brennic::Testing;
using Waypoints::Report;
using Waypoints::Waypoint;

namespace {

// How some part of the world writes numbers; needs no installed locale.
class Numbers : public std::numpunct<char>
{
public:
    Numbers(char decimalPoint, char separator, std::string grouping)
        : m_decimalPoint(decimalPoint), m_separator(separator), m_grouping(std::move(grouping))
    {
    }

protected:
    char do_decimal_point() const override { return m_decimalPoint; }
    char do_thousands_sep() const override { return m_separator; }
    std::string do_grouping() const override { return m_grouping; }

private:
    char m_decimalPoint;
    char m_separator;
    std::string m_grouping;
};

struct Punctuation
{
    const char* place;
    char decimalPoint;
    char separator;
    const char* grouping;
};

void PrintTo(const Punctuation& punctuation, std::ostream* out)
{
    *out << punctuation.place;
}

// Writes the waypoints under the locale and reads them back under the classic one.
Report readBack(const Punctuation& punctuation, const std::vector<Core::Waypoint>& waypoints)
{
    const TemporaryDirectory directory;
    const std::locale former = std::locale::global(
        std::locale(std::locale::classic(),
                    new Numbers(punctuation.decimalPoint, punctuation.separator, punctuation.grouping)));
    Core::WriteWaypointReport(waypoints, wide(directory / "run.xml"));
    std::locale::global(former);
    return Waypoints::readReport(directory / "run.xml");
}

std::string messageOf(const std::string& xml)
{
    try {
        parsed(xml);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

class EveryLocale : public ::testing::TestWithParam<Punctuation>
{
};

} // namespace

TEST_P(EveryLocale, whatTheKernelWritesIsReadAsItWas)
{
    const std::vector<Core::Waypoint> written = {{L"Load", 1'234, 7, 5'767'168},
                                                 {L"Smooth", 1'234'567, 1'234'567, -5'767'168},
                                                 {L"long", 9'876'543'210'123, 2'147'483'647, -2'147'483'648},
                                                 {L"whole", 12'345'000, 1'000, 0},
                                                 {L"short", 1, -12, 999}};
    const Report report = readBack(GetParam(), written);
    ASSERT_EQ(report.waypoints.size(), written.size());
    for (std::size_t i = 0; i < written.size(); ++i) {
        EXPECT_EQ(report.waypoints[i].name.toStdWString(), written[i].name);
        EXPECT_DOUBLE_EQ(report.waypoints[i].seconds, static_cast<double>(written[i].elapsed) / 1000);
        EXPECT_EQ(report.waypoints[i].frames, written[i].frames);
        EXPECT_EQ(report.waypoints[i].memory, written[i].memory);
    }
}

TEST_P(EveryLocale, timesAloneAreReadAsTheyWere)
{
    const Report report =
        readBack(GetParam(), {{L"a", 1'234, 0, 0}, {L"b", 250, 0, 0}, {L"c", 59'999'000, 0, 0}});
    ASSERT_EQ(report.waypoints.size(), 3U);
    EXPECT_DOUBLE_EQ(report.waypoints[0].seconds, 1.234);
    EXPECT_DOUBLE_EQ(report.waypoints[1].seconds, 0.25);
    EXPECT_DOUBLE_EQ(report.waypoints[2].seconds, 59999);
}

INSTANTIATE_TEST_SUITE_P(Of, EveryLocale,
                         ::testing::Values(Punctuation{"no place", '.', ',', ""},
                                           Punctuation{"the classic one with a comma", ',', '.', ""},
                                           Punctuation{"Britain", '.', ',', "\3"},
                                           Punctuation{"Germany", ',', '.', "\3"},
                                           Punctuation{"Switzerland", '.', '\'', "\3"},
                                           Punctuation{"France", ',', ' ', "\3"},
                                           Punctuation{"France in Latin-1", ',', '\xA0', "\3"},
                                           Punctuation{"India", '.', ',', "\3\2"},
                                           Punctuation{"a place that XML escapes", '<', '&', "\3"}));

TEST(ReportReader, theLongestTimeIsRead)
{
    const Report report =
        readBack({"Germany", ',', '.', "\3"}, {{L"a", std::numeric_limits<std::int64_t>::max(), 0, 0}});
    EXPECT_DOUBLE_EQ(report.waypoints.at(0).seconds, 9223372036854776.0);
}

TEST(ReportReader, namesAreReadAsTheyWereWritten)
{
    const std::vector<std::wstring> names = {L"<a & \"b\" 'c'>", L"Gl\u00e4tten \U0001F600", L"", L" ",
                                             L"&lt;"};
    for (const std::wstring& name : names)
        EXPECT_EQ(readBack({"", '.', ',', ""}, {{name, 0, 0, 0}}).waypoints.at(0).name.toStdWString(), name);
}

TEST(ReportReader, controlCharactersBecomeWhatCanBeShown)
{
    EXPECT_EQ(readBack({"", '.', ',', ""}, {{L"a\x01\x1b\x7f z\n\t.", 0, 0, 0}})
                  .waypoints.at(0)
                  .name.toStdWString(),
              L"a\u2401\u241b\u2421 z  .");
    EXPECT_EQ(parsed(reportOf(waypointLine("a&#10;b", "0", "0", "0"))).waypoints.at(0).name,
              QStringLiteral("a b"));
}

TEST(ReportReader, reportsWithoutWaypointsAreEmpty)
{
    EXPECT_TRUE(parsed("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n").waypoints.empty());
    EXPECT_TRUE(parsed("<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n").waypoints.empty());
    EXPECT_TRUE(parsed("<Profiler/>").waypoints.empty());
}

TEST(ReportReader, theProductIsTaken)
{
    const Report report =
        parsed("<Profiler><ProductVersion description=\"Mesh\" version=\"1.2\"/></Profiler>");
    EXPECT_EQ(report.product, QStringLiteral("Mesh 1.2"));
    EXPECT_EQ(report.title, QStringLiteral("run.xml"));
}

TEST(ReportReader, elementsThatItDoesNotKnowAreLeftOut)
{
    const std::string xml = "<Profiler><New><Waypoint/></New><Waypoints><Other/>" +
                            waypointLine("a", "0", "1", "0") + "</Waypoints></Profiler>";
    EXPECT_EQ(parsed(xml).waypoints.size(), 1U);
}

TEST(ReportReader, linesMayEndAsOnWindowsAndABomMayBegin)
{
    EXPECT_EQ(parsed("\xEF\xBB\xBF<Profiler>\r\n<Waypoints>\r\n" + waypointLine("a", "0", "1", "0") +
                     "\r\n</Waypoints></Profiler>\r\n")
                  .waypoints.size(),
              1U);
}

TEST(ReportReader, aWrongNumberIsNamedWithItsLine)
{
    const std::string first = waypointLine("a", "0", "0", "0");
    EXPECT_EQ(messageOf(reportOf(first + waypointLine("b", "many", "0", "0"))),
              "run.xml:5: frames \"many\" is not a number");
    EXPECT_EQ(messageOf(reportOf(first + waypointLine("b", "0", "nan", "0"))),
              "run.xml:5: elapsed \"nan\" is not a number");
    EXPECT_EQ(messageOf(reportOf(waypointLine("b", "0", "0", "1.5x"))),
              "run.xml:4: memory \"1.5x\" is not a number");
    EXPECT_EQ(messageOf(reportOf(waypointLine("b", "", "0", "0"))), "run.xml:4: frames \"\" is not a number");
}

TEST(ReportReader, aHugeNumberIsRefused)
{
    EXPECT_EQ(messageOf(reportOf(waypointLine("a", "2147483648", "0", "0"))),
              "run.xml:4: frames \"2147483648\" is out of range");
    EXPECT_EQ(messageOf(reportOf(waypointLine("a", "0", "0", "-2147483649"))),
              "run.xml:4: memory \"-2147483649\" is out of range");
    EXPECT_EQ(messageOf(reportOf(waypointLine("a", "0", "9223372036854778", "0"))),
              "run.xml:4: elapsed \"9223372036854778\" is out of range");
    EXPECT_EQ(messageOf(reportOf(waypointLine("a", "0", std::string(500, '9'), "0"))),
              "run.xml:4: elapsed \"" + std::string(40, '9') + "\xE2\x80\xA6\" is out of range");
}

TEST(ReportReader, aMissingAttributeIsNamedWithItsLine)
{
    EXPECT_EQ(messageOf(reportOf("<Waypoint name=\"a\" frames=\"0\" elapsed=\"0\"/>\n")),
              "run.xml:4: a waypoint has no memory");
    EXPECT_EQ(messageOf(reportOf("<Waypoint/>\n")), "run.xml:4: a waypoint has no name");
}

TEST(ReportReader, whatIsNoReportIsRefused)
{
    EXPECT_EQ(messageOf("<html>\n</html>"), "run.xml:1: it is no waypoint report: its root is \"html\"");
    EXPECT_EQ(messageOf(""), "run.xml: it is empty");
    EXPECT_EQ(messageOf(" \n"), "run.xml: it is empty");
    EXPECT_THAT(messageOf("hello"), ::testing::StartsWith("run.xml:1: it is not XML: "));
    EXPECT_THAT(messageOf("{\"a\": 1}"), ::testing::StartsWith("run.xml:1: it is not XML: "));
    EXPECT_THAT(messageOf("<Profiler/><Profiler/>"), ::testing::StartsWith("run.xml:1: it is not XML: "));
}

TEST(ReportReader, aReportThatIsCutShortAnywhereIsRefused)
{
    const std::string whole = exampleReport();
    const std::size_t declaration = whole.find("<Profiler");
    const std::size_t lastCharacter = whole.find_last_of('>');
    for (std::size_t size = 1; size <= lastCharacter; ++size) {
        const bool isEmptyReport = size == declaration || size == declaration - 1;
        EXPECT_EQ(messageOf(whole.substr(0, size)) == "no error", isEmptyReport) << size;
    }
    EXPECT_EQ(messageOf(whole), "no error");
}

TEST(ReportReader, deepNestingTakesNoStack)
{
    std::string xml = "<Profiler>";
    for (int depth = 0; depth < 200'000; ++depth)
        xml += "<a>";
    EXPECT_THAT(messageOf(xml), ::testing::HasSubstr("it is not XML: "));
}

TEST(ReportReader, entitiesThatGrowWithoutEndAreRefused)
{
    std::string xml = "<!DOCTYPE Profiler [<!ENTITY a0 \"aaaaaaaaaa\">";
    for (int i = 1; i < 12; ++i) {
        const std::string former = "&a" + std::to_string(i - 1) + ";";
        xml += "<!ENTITY a" + std::to_string(i) + " \"";
        for (int n = 0; n < 10; ++n)
            xml += former;
        xml += "\">";
    }
    xml += "]><Profiler><Waypoints><Waypoint name=\"&a11;\"/></Waypoints></Profiler>";
    EXPECT_THAT(messageOf(xml), ::testing::HasSubstr("it is not XML: "));
}
