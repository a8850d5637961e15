#include <brn_mesh_kernel/diagnostics/WaypointReport.h>

#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <gtest/gtest.h>

#include <brn_mesh_common/Util.h>

#include "support/Files.h"
#include "support/GroupingLocale.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
namespace Util = Brennic::Objects::Util;

namespace {

void registerExampleVersions()
{
    Util::RegisterVersionInfo({L"", L"Example Module", L"2.1.0.512", L"Example Product", L"2.1.0.512"});
}

std::string reportOf(const std::vector<Waypoint>& waypoints)
{
    const TemporaryDirectory directory;
    EXPECT_EQ(WriteWaypointReport(waypoints, wide(directory / "report.xml")), Success);
    return readText(directory / "report.xml");
}

// The one Waypoint line of a report.
std::string lineOf(const Waypoint& waypoint)
{
    return splitLines(reportOf({waypoint})).at(3);
}

} // namespace

TEST(WaypointReport, aFullReportIsWrittenByteForByte)
{
    registerExampleVersions();
    EXPECT_EQ(reportOf({{L"Load", 1234, 2, 5767168}, {L"END", 12, 0, -4096}}),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
              "<Profiler>\n"
              "  <ProductVersion description=\"Example Product\" version=\"2.1.0.512\"/>\n"
              "  <FileVersion description=\"Example Module\" version=\"2.1.0.512\"/>\n"
              "  <Waypoints>\n"
              "    <Waypoint name=\"Load\" frames=\"2\" elapsed=\"1.234\" memory=\"5767168\"/>\n"
              "    <Waypoint name=\"END\" frames=\"0\" elapsed=\"0.012\" memory=\"-4096\"/>\n"
              "  </Waypoints>\n"
              "</Profiler>\n");
}

TEST(WaypointReport, withoutWaypointsThereIsNoList)
{
    registerExampleVersions();
    EXPECT_EQ(reportOf({}), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                            "<Profiler>\n"
                            "  <ProductVersion description=\"Example Product\" version=\"2.1.0.512\"/>\n"
                            "  <FileVersion description=\"Example Module\" version=\"2.1.0.512\"/>\n"
                            "</Profiler>\n");
}

TEST(WaypointReport, withoutWaypointsAndVersionsThereIsTheDeclarationAlone)
{
    EXPECT_EQ(reportOf({}), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");
}

TEST(WaypointReport, withoutVersionsThereIsNoVersionElement)
{
    EXPECT_EQ(reportOf({{L"a", 0, 0, 0}}),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
              "<Profiler>\n"
              "  <Waypoints>\n"
              "    <Waypoint name=\"a\" frames=\"0\" elapsed=\"0\" memory=\"0\"/>\n"
              "  </Waypoints>\n"
              "</Profiler>\n");
}

TEST(WaypointReport, productAndFileHaveVersionsOfTheirOwn)
{
    Util::RegisterVersionInfo({L"", L"File", L"1.2", L"Product", L"3.4"});
    const std::vector<std::string> lines = splitLines(reportOf({}));
    EXPECT_EQ(lines.at(2), "  <ProductVersion description=\"Product\" version=\"3.4\"/>");
    EXPECT_EQ(lines.at(3), "  <FileVersion description=\"File\" version=\"1.2\"/>");
}

TEST(WaypointReport, emptyVersionTextsAreWrittenEmpty)
{
    Util::RegisterVersionInfo({});
    EXPECT_EQ(splitLines(reportOf({})).at(2), "  <ProductVersion description=\"\" version=\"\"/>");
}

TEST(WaypointReport, waypointsOfOneNameAreElementsOfTheirOwn)
{
    const std::vector<std::string> lines = splitLines(reportOf({{L"a", 1, 0, 0}, {L"a", 2, 0, 0}}));
    EXPECT_EQ(lines.at(3), "    <Waypoint name=\"a\" frames=\"0\" elapsed=\"0.001\" memory=\"0\"/>");
    EXPECT_EQ(lines.at(4), "    <Waypoint name=\"a\" frames=\"0\" elapsed=\"0.002\" memory=\"0\"/>");
}

TEST(WaypointReport, namesAreEscaped)
{
    EXPECT_EQ(lineOf({L"<a & \"b\" 'c'>", 0, 0, 0}),
              "    <Waypoint name=\"&lt;a &amp; &quot;b&quot; &apos;c&apos;&gt;\" frames=\"0\" elapsed=\"0\" "
              "memory=\"0\"/>");
}

TEST(WaypointReport, namesAreWrittenAsTheTreesWriterDoes)
{
    for (const char* const name : {"", " ", "   ", " a ", "a\n\tb", "\x01", "'\"<>&", "&amp;"}) {
        boost::property_tree::ptree element;
        element.put("Waypoint.<xmlattr>.name", name);
        std::ostringstream text;
        write_xml(text, element, {' ', 2, "utf-8"});
        const std::string line = splitLines(text.str().substr(text.str().find("<Waypoint"))).at(0);
        const std::string start = line.substr(0, line.rfind("/>"));
        EXPECT_EQ(lineOf({boost::nowide::widen(name), 0, 0, 0}).substr(4, start.size()), start);
    }
}

TEST(WaypointReport, namesAreUtf8)
{
    EXPECT_EQ(
        lineOf({L"Gl\u00e4tten \U0001F600", 0, 0, 0}),
        "    <Waypoint name=\"Gl\xC3\xA4tten \xF0\x9F\x98\x80\" frames=\"0\" elapsed=\"0\" memory=\"0\"/>");
}

TEST(WaypointReport, elapsedHasSixteenDigitsAtMost)
{
    EXPECT_EQ(lineOf({L"a", 100, 0, 0}),
              "    <Waypoint name=\"a\" frames=\"0\" elapsed=\"0.1\" memory=\"0\"/>");
    EXPECT_EQ(lineOf({L"a", 1'000'000'000'000'001, 0, 0}),
              "    <Waypoint name=\"a\" frames=\"0\" elapsed=\"1000000000000.001\" memory=\"0\"/>");
    EXPECT_EQ(lineOf({L"a", 60'000, 0, 0}),
              "    <Waypoint name=\"a\" frames=\"0\" elapsed=\"60\" memory=\"0\"/>");
}

TEST(WaypointReport, framesAndMemoryKeepTheirLow32Bits)
{
    EXPECT_EQ(lineOf({L"a", 0, 2'147'483'648, 4'294'967'296}),
              "    <Waypoint name=\"a\" frames=\"-2147483648\" elapsed=\"0\" memory=\"0\"/>");
    EXPECT_EQ(lineOf({L"a", 0, std::numeric_limits<std::int64_t>::min(), 3'000'000'000}),
              "    <Waypoint name=\"a\" frames=\"0\" elapsed=\"0\" memory=\"-1294967296\"/>");
}

TEST(WaypointReport, numbersFollowTheGlobalLocaleAndNothingElseDoes)
{
    registerExampleVersions();
    const GlobalGroupingLocale locale;
    const std::string report = reportOf({{L"1234567", 1234567, 1234567, -5767168}});
    EXPECT_EQ(
        report,
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        "<Profiler>\n"
        "  <ProductVersion description=\"Example Product\" version=\"2.1.0.512\"/>\n"
        "  <FileVersion description=\"Example Module\" version=\"2.1.0.512\"/>\n"
        "  <Waypoints>\n"
        "    <Waypoint name=\"1234567\" frames=\"1.234.567\" elapsed=\"1.234,567\" memory=\"-5.767.168\"/>\n"
        "  </Waypoints>\n"
        "</Profiler>\n");
}

TEST(WaypointReport, anExistingFileIsReplaced)
{
    const TemporaryDirectory directory;
    writeFile(directory / "report.xml", std::string(10'000, 'x'));
    WriteWaypointReport({}, wide(directory / "report.xml"));
    EXPECT_EQ(readText(directory / "report.xml"), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");
}

TEST(WaypointReport, aPathOutsideAsciiWorks)
{
    const TemporaryDirectory directory("_\xC3\xBC\xF0\x9F\x98\x80");
    WriteWaypointReport({}, wide(directory / "b\xC3\xA4richt.xml"));
    EXPECT_FALSE(readFile(directory / "b\xC3\xA4richt.xml").empty());
}

TEST(WaypointReport, aFileThatCannotBeOpenedThrows)
{
    const TemporaryDirectory directory;
    const std::string path = (directory / "missing").string() + "/report.xml";
    try {
        WriteWaypointReport({}, wide(path));
        FAIL() << "no exception";
    } catch (const boost::property_tree::xml_parser_error& error) {
        EXPECT_EQ(error.message(), "cannot open file");
        EXPECT_EQ(error.filename(), path);
        EXPECT_EQ(error.line(), 0U);
    }
}
