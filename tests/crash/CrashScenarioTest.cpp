/// \file
/// The scenarios of scenarios.txt, which Windows has too. What only Linux has stands in the files beside.

#include "crash/support/CrashFixture.h"
#include "crash/support/TimeLimits.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>

using namespace Brennic::Testing;

namespace {

struct Scenario
{
    std::string name;
    std::vector<std::string> arguments; ///< the kind of crash first
    int signal = 0;
    std::optional<int> exitCode; ///< none: the process dies of the signal
    std::map<std::string, std::string> expectations;

    bool isExpected(const std::string& what) const { return expectations.count(what) != 0; }
    std::string expected(const std::string& what, const std::string& usual) const
    {
        return isExpected(what) ? expectations.at(what) : usual;
    }
};

void PrintTo(const Scenario& scenario, std::ostream* stream)
{
    *stream << scenario.name;
}

std::string trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(trimmed(part));
    return parts;
}

int signalOf(const std::string& name)
{
    for (int signal = 1; signal != SIGRTMIN; ++signal) {
        const char* const known = sigabbrev_np(signal);
        if (known != nullptr && "SIG" + std::string(known) == name)
            return signal;
    }
    throw std::runtime_error("scenarios.txt: there is no signal " + name);
}

Scenario parseScenario(const std::vector<std::string>& cells)
{
    const std::vector<std::string> end = split(cells.at(3), ' ');
    Scenario scenario{cells.at(0), split(cells.at(1), ' '), signalOf(end.at(0)), std::nullopt, {}};
    if (end.size() > 1)
        scenario.exitCode = std::stoi(end[1]);
    scenario.expectations["FUNCTION"] = cells.at(2);
    for (std::size_t i = 5; i < cells.size(); ++i) {
        std::string name = cells[i].substr(0, cells[i].find('='));
        const std::string value = cells[i].substr(name.size() + 1);
        if (name.rfind("linux:", 0) == 0)
            name.erase(0, std::string("linux:").size());
        if (name.rfind("windows:", 0) != 0)
            scenario.expectations[name] = value;
    }
    return scenario;
}

std::vector<Scenario> scenariosOfLinux()
{
    std::vector<Scenario> scenarios;
    std::ifstream file(BRN_CRASH_SCENARIOS);
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        const std::vector<std::string> cells = split(line, '|');
        if (cells.at(3) != "-")
            scenarios.push_back(parseScenario(cells));
    }
    return scenarios;
}

std::string testName(const ::testing::TestParamInfo<Scenario>& test)
{
    std::string name = test.param.name;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '.' || c == '-'; }, '_');
    return name;
}

class CrashScenario : public CrashFixture, public ::testing::WithParamInterface<Scenario>
{
protected:
    CrashScenario() : CrashFixture(GetParam().expected("HOST", "host")) {}

    const Scenario& scenario() const { return GetParam(); }
    std::string program() const { return scenario().expected("PROGRAM", "crash_child"); }

    ProcessEnd run() const
    {
        const bool isUsual = program() == "crash_child";
        std::vector<std::string> arguments{m_host.string()};
        arguments.insert(arguments.end(), scenario().arguments.begin(), scenario().arguments.end());
        return ChildProcess(isUsual ? BRN_CRASH_CHILD : BRN_CRASH_CHILD_INSIDE, arguments, m_directory.path())
            .wait();
    }

    void expectEnd(const ProcessEnd& end) const
    {
        if (scenario().exitCode)
            EXPECT_EQ(end.exitCode, *scenario().exitCode);
        else
            EXPECT_EQ(end.signal, scenario().signal);
        const bool isPlain = scenario().arguments.size() == 1; // nothing is in the way of a step
        EXPECT_TRUE(isBelow(end.time, isPlain ? usualTime : limitOfAllSteps));
    }

    std::filesystem::path expectedDump() const
    {
        const std::string usual = m_host.filename().string() + "/" + program() + ".dmp";
        const std::string where = scenario().expected("DUMP", usual);
        return where == "temporary" ? temporaryDump() : m_directory / where;
    }

    std::vector<std::filesystem::path> allDumps() const
    {
        std::vector<std::filesystem::path> dumps;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_directory.path()))
            if (entry.path().extension() == ".dmp" || entry.path().extension() == ".part")
                dumps.push_back(entry.path());
        return dumps;
    }

    void expectReport() const
    {
        const std::string usual = m_host.filename().string() + "/" + program() + "_command_log.xml";
        const std::filesystem::path path = m_directory / scenario().expected("REPORT_AT", usual);
        if (scenario().expected("REPORT", "whole") == "none") {
            EXPECT_FALSE(std::filesystem::exists(path));
            return;
        }
        const std::string text = readFile(path);
        EXPECT_THAT(text, ::testing::HasSubstr("<Waypoint name=\"Before the crash\""));
        EXPECT_THAT(text, ::testing::EndsWith("</Profiler>\n"));
    }

    void expectHandler(const std::filesystem::path& dump) const
    {
        const std::string handler = scenario().expected("HANDLER", "not called");
        const bool isInWorkingDirectory = dump.parent_path() == m_directory.path();
        const std::string path = isInWorkingDirectory ? dump.filename().string() : dump.string();
        EXPECT_EQ(handlersPath(), handler == "path" ? path : handler);
    }

    void expectNote(const std::filesystem::path& dump) const
    {
        if (!scenario().isExpected("NOTE"))
            return;
        const std::string found = scenario().expected("FOUND", "");
        EXPECT_EQ(readFile(m_host / scenario().expected("NOTE", "")),
                  found == "the crashed thread" ? std::to_string(Minidump(dump).crashedThread()) : found);
    }
};

} // namespace

TEST_P(CrashScenario, leavesWhatItsRowSays)
{
    if (isSanitized && scenario().arguments[0].rfind("heap-", 0) == 0)
        GTEST_SKIP() << "the sanitizer's heap does not break so";
    expectEnd(run());
    const std::filesystem::path dump = expectedDump();
    EXPECT_THAT(allDumps(), ::testing::ElementsAre(dump));
    expectGoodDump(dump, scenario().signal, scenario().expected("FUNCTION", ""));
    expectReport();
    expectHandler(dump);
    expectNote(dump);
}

INSTANTIATE_TEST_SUITE_P(All, CrashScenario, ::testing::ValuesIn(scenariosOfLinux()), testName);
