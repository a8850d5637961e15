#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "faults/StracedProgram.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic::Testing;

namespace {

const std::string olderText = "an older whole file\n";

// More errors, where somebody has the time for them.
bool isThorough()
{
    return std::getenv("BRN_FAULTS_THOROUGH") != nullptr;
}

// All but those that cannot fail of a file that is there.
bool mayFail(const std::string& call)
{
    static const std::set<std::string> infallible{"execve", "getcwd", "lseek", "mmap"};
    return infallible.count(call) == 0;
}

// strace answers in the system's place and cannot cut what is written, but it can say that nothing was.
std::vector<std::string> effectsOn(const std::string& call)
{
    std::vector<std::string> effects{"error=ENOSPC", "error=EACCES", "error=EIO", "error=EMFILE"};
    if (call == "write" || call == "writev")
        effects.emplace_back("retval=0");
    if (isThorough() && call != "close") // which Linux carries out even where it says that it was interrupted
        effects.insert(effects.end(), {"error=EINTR", "error=ENOMEM", "error=EROFS", "error=EPERM"});
    return effects;
}

std::string readPart(const std::filesystem::path& path, std::size_t from,
                     std::size_t size = std::string::npos)
{
    std::ifstream file(path, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(from));
    std::string text(std::min(size, std::size_t{100'000}), '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
}

class FileFaults : public ::testing::Test
{
protected:
    FileFaults()
    {
        std::filesystem::create_directory(m_scratch.path() / "files");
        std::filesystem::create_directory(m_scratch.path() / "strace");
    }

    StracedProgram program(const std::vector<std::string>& command) const
    {
        return {command, files(), m_scratch.path() / "strace"};
    }

    std::filesystem::path files() const { return m_scratch.path() / "files"; }

    std::vector<std::string> fileNames() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(files()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    // Has each call of a clean run fail, and looks at what that has left.
    template <typename Prepare, typename Check>
    void failEachCall(const StracedProgram& program, Prepare prepare, Check check)
    {
        prepare();
        const StracedEnd clean = program.run();
        ASSERT_EQ(clean.exitCode, 0) << clean.err;
        check(clean);
        unsigned count = 0;
        unsigned missed = 0;
        std::string missedCalls;
        for (std::size_t index = 0; index != clean.calls.size(); ++index) {
            const SeenCall& call = clean.calls[index];
            if (!mayFail(call.name))
                continue;
            for (const std::string& effect : effectsOn(call.name)) {
                SCOPED_TRACE(effect + " at " + call.text);
                const StracedEnd end = runUntilHit(program, clean.calls, index, effect, prepare);
                ++count;
                if (end.isHit()) {
                    check(end);
                } else {
                    ++missed;
                    missedCalls += ' ' + call.name;
                }
            }
        }
        std::cout << count << " faults, " << missed << " missed:" << missedCalls << '\n';
        EXPECT_GT(count, 10U);
        EXPECT_LE(missed * 4, count);
    }

    // strace counts the calls of each thread, and some make more or fewer from run to run: the fault may come to another call,
    // or to two. A run that it has missed tells when the call came there.
    template <typename Prepare>
    static StracedEnd runUntilHit(const StracedProgram& program, const std::vector<SeenCall>& clean,
                                  std::size_t index, const std::string& effect, Prepare prepare)
    {
        const auto isSame = [&](const SeenCall& call) { return call.name == clean[index].name; };
        const auto place =
            std::count_if(clean.begin(), clean.begin() + static_cast<std::ptrdiff_t>(index), isSame);
        unsigned time = clean[index].time;
        StracedEnd end;
        for (int attempt = 0; attempt != 8 && !end.isHit(); ++attempt) {
            prepare();
            end = program.run({clean[index].name, time, effect});
            std::ptrdiff_t seen = 0;
            for (const SeenCall& call : end.calls)
                if (isSame(call) && seen++ == place)
                    time = call.time;
        }
        return end;
    }

    // One file, older or new; if the program says that it has failed, in one line, then the older one.
    void expectOneWholeFile(const StracedEnd& end, const std::string& name, const std::string& endOfNew)
    {
        EXPECT_TRUE(end.isOver);
        EXPECT_EQ(end.signal, 0) << end.err;
        const std::string text = readFile(files() / name);
        const bool isNew = text.size() > endOfNew.size() &&
                           text.compare(text.size() - endOfNew.size(), endOfNew.size(), endOfNew) == 0;
        EXPECT_TRUE(text == olderText || isNew) << text.size() << " bytes: " << text.substr(0, 200);
        if (end.exitCode == 0) {
            EXPECT_TRUE(isNew) << end.err;
        } else {
            EXPECT_EQ(end.exitCode, 1);
        }
        EXPECT_EQ(splitLines(end.err).size(), end.exitCode == 0 ? 0U : 1U) << end.err;
    }

    TemporaryDirectory m_scratch;
};

} // namespace

TEST_F(FileFaults, ofAReportLeaveTheOlderOrTheNewOneAndALine)
{
    const StracedProgram saver = program({BRN_SAVE_REPORT_PROGRAM, (files() / "report.xml").string()});
    if (const std::string hindrance = saver.hindrance(); !hindrance.empty())
        GTEST_SKIP() << hindrance;
    failEachCall(
        saver, [this] { writeFile(files() / "report.xml", olderText); },
        [this](const StracedEnd& end) {
            expectOneWholeFile(end, "report.xml", "</Profiler>\n");
            EXPECT_THAT(fileNames(), ::testing::ElementsAre("report.xml"));
        });
}

TEST_F(FileFaults, ofAMeshLeaveTheOlderOrTheNewOneAndALine)
{
    const std::filesystem::path input = m_scratch.path() / "mesh.obj";
    writeFile(input, "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n");
    const StracedProgram saver =
        program({BRN_SAVE_MESH_PROGRAM, input.string(), (files() / "smooth.obj").string()});
    if (const std::string hindrance = saver.hindrance(); !hindrance.empty())
        GTEST_SKIP() << hindrance;
    std::string endOfNew;
    failEachCall(
        saver, [this] { writeFile(files() / "smooth.obj", olderText); },
        [this, &endOfNew](const StracedEnd& end) {
            constexpr std::size_t lastLines = 30;
            const std::string text = readFile(files() / "smooth.obj");
            if (endOfNew.empty() && text.size() > lastLines)
                endOfNew = text.substr(text.size() - lastLines);
            expectOneWholeFile(end, "smooth.obj", endOfNew);
            EXPECT_THAT(fileNames(), ::testing::ElementsAre("smooth.obj"));
        });
}

TEST_F(FileFaults, ofTheLogLoseNoOlderRecordAndLetTheHostGoOn)
{
    constexpr std::size_t almostFull = 10 * 1024 * 1024 - 100; // the log rolls over while the host logs
    constexpr int records = 5;
    const std::filesystem::path log = files() / "crowd.log";
    const std::filesystem::path backup = files() / "crowd.log.1";
    const StracedProgram host =
        program({BRN_LOG_CROWD_PROGRAM, files().string(), "1", std::to_string(records)});
    if (const std::string hindrance = host.hindrance(); !hindrance.empty())
        GTEST_SKIP() << hindrance;
    failEachCall(
        host,
        [&] {
            std::filesystem::remove(backup);
            writeFile(log, olderText);
            std::filesystem::resize_file(log, almostFull);
        },
        [&](const StracedEnd& end) {
            EXPECT_TRUE(end.isOver);
            EXPECT_EQ(end.exitCode, 0) << end.err;
            const bool isRolledOver = std::filesystem::exists(backup);
            EXPECT_EQ(readPart(isRolledOver ? backup : log, 0, olderText.size()), olderText);
            const std::string added =
                isRolledOver ? readPart(backup, almostFull) + readFile(log) : readPart(log, almostFull);
            // log4cplus tells that it cannot open or rename a file, and drops records for a second.
            const bool isTold = end.err.find("log4cplus:ERROR ") != std::string::npos;
            for (int record = 0; !isTold && record != records; ++record)
                EXPECT_THAT(added, ::testing::HasSubstr(" record " + std::to_string(record) + " end\n"));
        });
}
