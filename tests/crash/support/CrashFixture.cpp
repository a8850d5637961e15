#include "crash/support/CrashFixture.h"

#include <algorithm>

#include <sys/resource.h>

namespace Brennic::Testing {

namespace {

std::string lldbNameOf(int signal)
{
    return std::string("signal SIG") + sigabbrev_np(signal);
}

void expectOwnReaderContent(const Minidump& dump, int signal)
{
    EXPECT_EQ(dump.exceptionCode(), static_cast<std::uint32_t>(signal));
    const std::vector<std::uint32_t> threads = dump.threadIds();
    EXPECT_THAT(threads, ::testing::Contains(dump.crashedThread()));
    EXPECT_EQ(std::set<std::uint32_t>(threads.begin(), threads.end()).size(), threads.size());
    EXPECT_THAT(dump.unplacedThreads(), ::testing::IsEmpty());
    EXPECT_EQ(dump.threadNames().size(), threads.size());
}

void expectNoOverlaps(std::vector<Minidump::Range> ranges)
{
    std::sort(ranges.begin(), ranges.end(), [](const auto& a, const auto& b) { return a.start < b.start; });
    for (std::size_t i = 0; i != ranges.size(); ++i) {
        EXPECT_GT(ranges[i].size, 0U);
        if (i != 0) {
            EXPECT_LE(ranges[i - 1].start + ranges[i - 1].size, ranges[i].start);
        }
    }
}

void expectModules(const Minidump& dump)
{
    std::vector<Minidump::Range> ranges;
    for (const Minidump::Module& module : dump.modules())
        ranges.push_back({module.base, module.size});
    expectNoOverlaps(ranges);
    ASSERT_FALSE(dump.modules().empty());
    EXPECT_THAT(std::filesystem::path(dump.modules()[0].name).filename().string(),
                ::testing::StartsWith("crash_child"));
    EXPECT_EQ(dump.modules()[0].buildId.size(), 20U);
}

void expectLldb(const std::filesystem::path& dump, int signal, const std::string& function,
                std::size_t threads)
{
    const ReaderOutput lldb = readWithLldb(dump);
    EXPECT_THAT(lldb.out, ::testing::HasSubstr(lldbNameOf(signal)));
    EXPECT_THAT(lldb.out, ::testing::HasSubstr(function));
    EXPECT_EQ(countLines(lldb.out, ": tid = "), threads) << lldb.out;
}

void expectObj2yaml(const std::filesystem::path& dump)
{
    const ReaderOutput yaml = readWithObj2yaml(dump);
    EXPECT_EQ(yaml.exitCode, 0);
    EXPECT_EQ(yaml.err, "");
}

void expectStackwalk(const std::filesystem::path& path, const Minidump& dump)
{
    const ReaderOutput walk = readWithStackwalk(path);
    EXPECT_EQ(walk.exitCode, 0) << walk.err;
    EXPECT_EQ(countLines(walk.out, "Thread "), dump.threadIds().size());
    EXPECT_EQ(countLines(walk.out, " - 0x"), dump.modules().size());
}

} // namespace

CrashFixture::CrashFixture(const std::string& hostDirectory)
    : m_host(m_directory / hostDirectory), m_temporary(m_directory / "tmp")
{
    // For a child that gives up its rights.
    for (const std::filesystem::path& directory : {m_directory.path(), m_host, m_temporary}) {
        std::filesystem::create_directories(directory);
        std::filesystem::permissions(directory, std::filesystem::perms::all);
    }
    const rlimit none{0, RLIM_INFINITY};
    setrlimit(RLIMIT_CORE, &none);
}

ChildProcess CrashFixture::start(const std::string& kind, const std::vector<std::string>& options) const
{
    std::vector<std::string> arguments{m_host.string(), kind};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return ChildProcess(BRN_CRASH_CHILD, arguments, m_directory.path());
}

ProcessEnd CrashFixture::crash(const std::string& kind, const std::vector<std::string>& options) const
{
    return start(kind, options).wait();
}

std::string CrashFixture::handlersPath() const
{
    const std::filesystem::path file = m_host / "handler";
    return std::filesystem::exists(file) ? readFile(file) : "not called";
}

std::vector<std::filesystem::path> CrashFixture::dumpsIn(const std::filesystem::path& directory)
{
    std::vector<std::filesystem::path> dumps;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.path().string().find(".dmp") != std::string::npos)
            dumps.push_back(entry.path());
    }
    return dumps;
}

std::vector<std::filesystem::path> CrashFixture::unfinishedFilesIn(const std::filesystem::path& directory)
{
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.path().extension() == ".part")
            files.push_back(entry.path());
    }
    return files;
}

std::filesystem::path CrashFixture::temporaryDump() const
{
    const std::vector<std::filesystem::path> dumps = dumpsIn(m_temporary);
    EXPECT_EQ(dumps.size(), 1U);
    return dumps.empty() ? std::filesystem::path() : dumps[0];
}

void CrashFixture::expectGoodDump(const std::filesystem::path& path, int signal, const std::string& function)
{
    ASSERT_TRUE(std::filesystem::exists(path)) << path;
    EXPECT_THAT(unfinishedFilesIn(path.parent_path()), ::testing::IsEmpty());
    const Minidump dump(path);
    expectOwnReaderContent(dump, signal);
    expectNoOverlaps(dump.memory());
    expectModules(dump);
    expectObj2yaml(path);
    expectLldb(path, signal, function, dump.threadIds().size());
    if (hasStackwalk())
        expectStackwalk(path, dump);
}

void CrashFixture::expectReport() const
{
    const std::string text = readFile(report());
    EXPECT_THAT(text, ::testing::HasSubstr("<Waypoint name=\"Before the crash\""));
    EXPECT_THAT(text, ::testing::EndsWith("</Profiler>\n"));
    EXPECT_THAT(unfinishedFilesIn(report().parent_path()), ::testing::IsEmpty());
}

} // namespace Brennic::Testing
