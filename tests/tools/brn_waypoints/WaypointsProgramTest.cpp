#include <filesystem>
#include <locale>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <brn_mesh_kernel/diagnostics/IProfilerSource.h>
#include <brn_mesh_kernel/kernel/Kernel.h>

#include "support/Files.h"
#include "support/GroupingLocale.h"
#include "support/MatchesPattern.h"
#include "tools/brn_waypoints/WaypointsProgramFixture.h"

using namespace Brennic::Testing;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

const std::string exampleTable = "name    count  seconds    share  frames  memory (MiB)\n"
                                 "Load        1    1.500   37.5 %       0          +2.0\n"
                                 "Smooth      2    2.500   62.5 %      30          +0.5\n"
                                 "END         1    0.000    0.0 %       0          +0.0\n"
                                 "total       4    4.000  100.0 %      30          +2.5\n";

// A million frames and bytes more at each look.
class GrowingSource : public Brennic::Core::IProfilerSource
{
public:
    std::int64_t FrameCount() override { return m_frames += 1'234'567; }
    std::int64_t MemoryUsage() override { return m_memory += 5'767'168; }

private:
    std::int64_t m_frames = 0;
    std::int64_t m_memory = 0;
};

void saveKernelReport(const std::filesystem::path& file)
{
    Brennic::Core::Kernel& kernel = Brennic::Core::Kernel::Instance();
    GrowingSource source;
    kernel.SetLogLevel(Brennic::Core::Off);
    kernel.SetProfilerSource(&source);
    kernel.Initialize();
    kernel.ProfilerWaypoint(L"Gl\u00e4tten <&>");
    kernel.ProfilerWaypoint(L"Save");
    kernel.Terminate();
    kernel.SaveWaypointsToXml(wide(file).c_str());
}

} // namespace

TEST_F(WaypointsProgramTest, printsATable)
{
    const ProgramResult result = run({"run.xml"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, exampleTable);
}

TEST_F(WaypointsProgramTest, severalReportsHaveATableEach)
{
    writeFile(directory / "b.xml", reportOf(""));
    EXPECT_EQ(run({"run.xml", "b.xml"}).out, "run.xml:\n" + exampleTable +
                                                 "\nb.xml:\n"
                                                 "name   count  seconds  share  frames  memory (MiB)\n"
                                                 "total      0    0.000  0.0 %       0          +0.0\n");
}

TEST_F(WaypointsProgramTest, readsWhatTheKernelWritesUnderAnyLocale)
{
    saveKernelReport(directory / "classic.xml");
    {
        const GlobalGroupingLocale locale;
        Brennic::Core::Kernel::Instance().SaveWaypointsToXml(wide(directory / "grouped.xml").c_str());
    }
    EXPECT_THAT(readText(directory / "grouped.xml"), HasSubstr("frames=\"1.234.567\""));
    const ProgramResult classic = run({"classic.xml"});
    EXPECT_EQ(classic.exitCode, 0) << classic.err;
    EXPECT_EQ(run({"grouped.xml"}).out, classic.out);
    EXPECT_THAT(splitLines(classic.out),
                ElementsAre(HasSubstr("name"), MatchesPattern("Gl\xC3\xA4tten <&> +1 .* 1234567 +\\+5\\.5"),
                            MatchesPattern("Save +1 .* 1234567 +\\+5\\.5"), StartsWith("END "),
                            MatchesPattern("total +3 .* 3703701 +\\+16\\.5")));
}

TEST_F(WaypointsProgramTest, writesTraceAndPageAndNoTable)
{
    const ProgramResult result = run({"run.xml", "--trace", "t.json", "--html", "p.html"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_THAT(readFile(directory / "t.json"), StartsWith("{\"displayTimeUnit\":\"ms\",\"traceEvents\":["));
    EXPECT_THAT(readFile(directory / "t.json"), EndsWith("]}\n"));
    EXPECT_THAT(readFile(directory / "p.html"), StartsWith("<!DOCTYPE html>\n<html"));
    EXPECT_THAT(readFile(directory / "p.html"), EndsWith("</html>\n"));
    EXPECT_THAT(fileNames(), ElementsAre("p.html", "run.xml", "t.json"));
}

TEST_F(WaypointsProgramTest, aDashIsTheStandardOutput)
{
    EXPECT_THAT(run({"run.xml", "--trace", "-"}).out, StartsWith("{\"displayTimeUnit\""));
    EXPECT_THAT(run({"run.xml", "--html", "-"}).out, StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(fileNames(), ElementsAre("run.xml"));
}

TEST_F(WaypointsProgramTest, anExistingFileIsReplaced)
{
    writeFile(directory / "t.json", std::string(100'000, 'x'));
    EXPECT_EQ(run({"run.xml", "--trace", "t.json"}).exitCode, 0);
    EXPECT_THAT(readFile(directory / "t.json"), EndsWith("]}\n"));
    EXPECT_THAT(fileNames(), ElementsAre("run.xml", "t.json"));
}

TEST_F(WaypointsProgramTest, badInputIsToldInOneLineAndDestroysNoOutput)
{
    writeFile(directory / "cut.xml", exampleReport().substr(0, 200));
    writeFile(directory / "page.xml", "<html/>");
    writeFile(directory / "number.xml", reportOf(waypointLine("a", "0", "x", "0")));
    writeFile(directory / "binary.xml", std::string("\x7F"
                                                    "ELF\0\1\2",
                                                    7));
    writeFile(directory / "old.json", "kept");
    const std::vector<std::string> before = fileNames();
    const auto expectMessage = [&](const std::string& file, const std::string& message) {
        expectFailure({"run.xml", file, "--trace", "old.json"}, message);
    };
    expectMessage("missing.xml", "missing.xml: there is no such file");
    expectMessage(".", ".: it is a directory");
    expectMessage("cut.xml", "cut.xml:5: it is not XML: Premature end of document.");
    expectMessage("page.xml", "page.xml:1: it is no waypoint report: its root is \"html\"");
    expectMessage("number.xml", "number.xml:4: elapsed \"x\" is not a number");
    expectMessage("binary.xml", "binary.xml: it is not XML");
    EXPECT_EQ(readFile(directory / "old.json"), "kept");
    EXPECT_EQ(fileNames(), before);
}

TEST_F(WaypointsProgramTest, anOutputThatCannotBeWrittenLeavesNothing)
{
    std::filesystem::create_directory(directory / "taken");
    expectFailure({"run.xml", "--html", "taken"}, "cannot write taken: it is a directory");
    expectFailure({"run.xml", "--html", "none/p.html"},
                  "cannot write none/p.html: No such file or directory");
    EXPECT_THAT(fileNames(), ElementsAre("run.xml", "taken"));
}

TEST_F(WaypointsProgramTest, aReportIsNeverOverwritten)
{
    expectFailure({"run.xml", "--html", "./run.xml"}, "./run.xml is a report: it cannot be written to");
    EXPECT_EQ(readFile(directory / "run.xml"), exampleReport());
}

TEST_F(WaypointsProgramTest, wrongOptionsAreToldInOneLine)
{
    expectFailure({}, "REPORT is required (--help tells more)");
    expectFailure({"run.xml", "--unknown"},
                  "The following argument was not expected: --unknown (--help tells more)");
    expectFailure({"run.xml", "--trace"}, "--trace: 1 required FILE missing (--help tells more)");
    expectFailure({"run.xml", "--trace", "a", "--trace", "b"},
                  "--trace: At Most 1 required but received 2 (--help tells more)");
    expectFailure({"run.xml", "--trace", ""}, "--trace needs the name of a file");
    expectFailure({"run.xml", "--trace", "a", "--html", "./a"}, "--trace and --html cannot be the same file");
    expectFailure({"run.xml", "--trace", "-", "--html", "-"}, "--trace and --html cannot be the same file");
    EXPECT_THAT(fileNames(), ElementsAre("run.xml"));
}

TEST_F(WaypointsProgramTest, helpAndVersionGoToTheStandardOutput)
{
    const ProgramResult help = run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* const option : {"REPORT", "--trace FILE", "--html FILE", "--version"})
        EXPECT_THAT(help.out, HasSubstr(option));
    const ProgramResult version = run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_THAT(version.out, MatchesPattern("brn_waypoints [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(WaypointsProgramTest, filesMayHaveAnyName)
{
    const std::string name = "h\xC3\xA4schen \xF0\x9F\x98\x80";
    writeFile(directory / (name + ".xml"), exampleReport());
    EXPECT_EQ(run({name + ".xml"}).out, exampleTable);
    EXPECT_EQ(run({name + ".xml", "--html", name + ".html"}).exitCode, 0);
    EXPECT_THAT(readFile(directory / (name + ".html")), HasSubstr("<h2>" + name + ".xml</h2>"));
}
