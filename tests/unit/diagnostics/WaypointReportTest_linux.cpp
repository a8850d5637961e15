#include <brn_mesh_kernel/diagnostics/WaypointReport.h>

#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include <boost/property_tree/xml_parser.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "support/Files.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

const std::string endOfReport = "</Profiler>\n";

std::vector<Waypoint> manyWaypoints()
{
    return std::vector<Waypoint>(10'000, Waypoint{L"a", 0, 0, 0});
}

// What the writer throws, or "nothing".
std::string errorOf(const std::vector<Waypoint>& waypoints, const std::filesystem::path& path)
{
    try {
        WriteWaypointReport(waypoints, wide(path));
        return "nothing";
    } catch (const boost::property_tree::xml_parser_error& error) {
        return error.message();
    }
}

std::size_t fileCount(const std::filesystem::path& directory)
{
    const std::filesystem::directory_iterator files(directory);
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

// As a full disk does, a limit fails a write that has been begun.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t size)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{size, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
};

// Rights of a user that owns nothing, for this thread alone.
template <typename Function>
void asNobody(Function function)
{
    std::thread([function] {
        constexpr unsigned nobody = 65534;
        ASSERT_EQ(syscall(SYS_setresuid, nobody, nobody, nobody), 0);
        function();
    }).join();
}

} // namespace

TEST(WaypointReport, aDiskThatIsFullThrows)
{
    EXPECT_EQ(errorOf(manyWaypoints(), "/dev/full"), "write error");
}

TEST(WaypointReport, aLinkIsReplacedAndWhatItLeadsToIsKept)
{
    const TemporaryDirectory directory;
    writeFile(directory / "victim", "precious");
    std::filesystem::create_symlink(directory / "victim", directory / "report.xml");
    EXPECT_EQ(errorOf(manyWaypoints(), directory / "report.xml"), "nothing");
    EXPECT_EQ(readFile(directory / "victim"), "precious");
    EXPECT_FALSE(std::filesystem::is_symlink(directory / "report.xml"));
    EXPECT_THAT(readFile(directory / "report.xml"), ::testing::EndsWith(endOfReport));
}

TEST(WaypointReport, aLinkThatLeadsNowhereCreatesNothingThere)
{
    const TemporaryDirectory directory;
    std::filesystem::create_symlink(directory / "elsewhere", directory / "report.xml");
    EXPECT_EQ(errorOf(manyWaypoints(), directory / "report.xml"), "nothing");
    EXPECT_FALSE(std::filesystem::exists(directory / "elsewhere"));
    EXPECT_THAT(readFile(directory / "report.xml"), ::testing::EndsWith(endOfReport));
}

TEST(WaypointReport, aDiskThatRunsFullKeepsTheOlderReport)
{
    const TemporaryDirectory directory;
    writeFile(directory / "report.xml", "a good report");
    {
        const FileSizeLimit limit(100'000);
        EXPECT_EQ(errorOf(manyWaypoints(), directory / "report.xml"), "write error");
    }
    EXPECT_EQ(readFile(directory / "report.xml"), "a good report");
    EXPECT_EQ(fileCount(directory.path()), 1U);
}

TEST(WaypointReport, aFifoIsWrittenTo)
{
    const TemporaryDirectory directory;
    const std::filesystem::path fifo = directory / "report.xml";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::string text;
    std::thread reader([&] { text = readFile(fifo); });
    EXPECT_EQ(errorOf(manyWaypoints(), fifo), "nothing");
    // Should it have been replaced, the reader still waits.
    close(open(fifo.c_str(), O_WRONLY | O_NONBLOCK));
    reader.join();
    EXPECT_THAT(text, ::testing::EndsWith(endOfReport));
    EXPECT_TRUE(std::filesystem::is_fifo(fifo));
}

TEST(WaypointReport, aLinkOfOnesOwnToADeviceIsWrittenTo)
{
    const TemporaryDirectory directory;
    std::filesystem::create_symlink("/dev/full", directory / "report.xml");
    EXPECT_EQ(errorOf(manyWaypoints(), directory / "report.xml"), "write error");
    EXPECT_TRUE(std::filesystem::is_symlink(directory / "report.xml"));
}

TEST(WaypointReport, anotherUsersLinkToADeviceIsNotFollowed)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root makes links of others";
    const TemporaryDirectory directory;
    std::filesystem::create_symlink("/dev/full", directory / "report.xml");
    ASSERT_EQ(lchown((directory / "report.xml").c_str(), 65534, 65534), 0);
    EXPECT_EQ(errorOf(manyWaypoints(), directory / "report.xml"), "nothing");
    EXPECT_THAT(readFile(directory / "report.xml"), ::testing::EndsWith(endOfReport));
}

TEST(WaypointReport, theNameOfAnOpenDescriptorIsWrittenTo)
{
    const TemporaryDirectory directory;
    const int file = open((directory / "out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(errorOf(manyWaypoints(), "/dev/fd/" + std::to_string(file)), "nothing");
    close(file);
    EXPECT_THAT(readFile(directory / "out"), ::testing::EndsWith(endOfReport));
    EXPECT_EQ(fileCount(directory.path()), 1U);
}

TEST(WaypointReport, aReplacedReportKeepsItsRights)
{
    const TemporaryDirectory directory;
    writeFile(directory / "report.xml", "a good report");
    std::filesystem::permissions(directory / "report.xml",
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_EQ(errorOf(manyWaypoints(), directory / "report.xml"), "nothing");
    EXPECT_EQ(std::filesystem::status(directory / "report.xml").permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST(WaypointReport, inAFolderWhereNoFileCanBeMadeOneThatCanBeWrittenIs)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root becomes another user";
    const TemporaryDirectory directory;
    writeFile(directory / "report.xml", std::string(1'000'000, 'x'));
    chmod((directory / "report.xml").c_str(), 0666);
    chmod(directory.path().c_str(), 0755);
    asNobody([&] { EXPECT_EQ(errorOf(manyWaypoints(), directory / "report.xml"), "nothing"); });
    EXPECT_THAT(readFile(directory / "report.xml"), ::testing::EndsWith(endOfReport));
    EXPECT_LT(std::filesystem::file_size(directory / "report.xml"), 1'000'000U);
}

TEST(WaypointReport, aFileThatCannotBeRenamedOverIsWritten)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root becomes another user";
    const TemporaryDirectory directory;
    writeFile(directory / "report.xml", std::string(1'000'000, 'x'));
    chmod((directory / "report.xml").c_str(), 0666);
    chmod(directory.path().c_str(), 01777); // where one may remove nobody else's
    asNobody([&] { EXPECT_EQ(errorOf(manyWaypoints(), directory / "report.xml"), "nothing"); });
    EXPECT_THAT(readFile(directory / "report.xml"), ::testing::EndsWith(endOfReport));
    EXPECT_LT(std::filesystem::file_size(directory / "report.xml"), 1'000'000U);
    EXPECT_EQ(fileCount(directory.path()), 1U);
}

TEST(WaypointReport, aFileThatMayNotBeWrittenIsKept)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root becomes another user";
    const TemporaryDirectory directory;
    writeFile(directory / "report.xml", "read-only");
    chmod((directory / "report.xml").c_str(), 0444);
    chmod(directory.path().c_str(), 0777);
    asNobody([&] { EXPECT_EQ(errorOf({}, directory / "report.xml"), "cannot open file"); });
    EXPECT_EQ(readFile(directory / "report.xml"), "read-only");
}

TEST(WaypointReport, aNameOfTheGreatestLengthIsPossible)
{
    const TemporaryDirectory directory;
    const std::filesystem::path path = directory / (std::string(251, 'n') + ".xml");
    EXPECT_EQ(errorOf(manyWaypoints(), path), "nothing");
    EXPECT_THAT(readFile(path), ::testing::EndsWith(endOfReport));
}

TEST(WaypointReport, noNameAndAFolderCannotBeOpened)
{
    const TemporaryDirectory directory;
    EXPECT_EQ(errorOf({}, ""), "cannot open file");
    EXPECT_EQ(errorOf({}, directory.path()), "cannot open file");
    EXPECT_EQ(errorOf({}, directory.path() / ""), "cannot open file");
    EXPECT_EQ(fileCount(directory.path()), 0U);
}
