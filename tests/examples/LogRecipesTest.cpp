#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QByteArray>
#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QString>

#include "support/Files.h"
#include "support/RunProgram.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic::Testing;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

class LogRecipesTest : public ::testing::Test
{
protected:
    ProgramResult run(const std::string& program) const
    {
        ProgramResult result =
            runProgram(std::filesystem::path(BRN_LOG_RECIPES) / program, {}, directory.path());
        EXPECT_TRUE(result.hasExited) << program;
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result;
    }

    std::vector<std::string> logLines() const { return readLines(directory / "host.log"); }

    TemporaryDirectory directory;
};

// What the pattern's groups catch; empty if it does not match the whole text.
QStringList match(const std::string& pattern, const std::string& text)
{
    const QRegularExpression expression('^' + QString::fromStdString(pattern) + '$');
    return expression.match(QString::fromStdString(text)).capturedTexts();
}

} // namespace

TEST_F(LogRecipesTest, timeStampsAreInUtcToTheMillisecond)
{
    const QDateTime before = QDateTime::currentDateTimeUtc();
    run("log_recipe_TimeStamps");
    const QDateTime after = QDateTime::currentDateTimeUtc();
    ASSERT_EQ(logLines().size(), 1U);
    const QStringList parts =
        match(R"((\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3})Z? INFO  Loading took 0\.\d s)", logLines()[0]);
    ASSERT_EQ(parts.size(), 2) << logLines()[0];
    QDateTime written = QDateTime::fromString(parts[1], Qt::ISODateWithMs);
    // As the Z says. For Windows, seen under Wine 8, log4cplus leaves out the last character of a time.
    written.setTimeSpec(Qt::UTC);
    EXPECT_TRUE(before <= written && written <= after) << logLines()[0];
}

TEST_F(LogRecipesTest, recentRecordsAreTheLastOnesAtTheThreshold)
{
    const ProgramResult result = run("log_recipe_RecentRecords");
    EXPECT_THAT(result.out, HasSubstr("Kept:\nINFO Pass 3\nINFO Pass 4\nINFO Pass 5\n"));
}

TEST_F(LogRecipesTest, modulesHaveLevelsOfTheirOwn)
{
    run("log_recipe_ModuleLevels");
    EXPECT_THAT(logLines(), ElementsAre("DEBUG reader: 69451 faces", "INFO  smoother: Pass 1 of 10"));
}

TEST_F(LogRecipesTest, theFileIsRolledOverIntoThreeBackups)
{
    run("log_recipe_Rotation");
    std::vector<std::string> lines;
    for (const char* const name : {"host.log.3", "host.log.2", "host.log.1", "host.log"}) {
        const std::filesystem::path file = directory.path() / "logs" / name;
        constexpr std::uintmax_t most = 200U * 1024U + 100U;
        EXPECT_LE(std::filesystem::file_size(file), most) << name;
        const std::vector<std::string> more = readLines(file);
        lines.insert(lines.end(), more.begin(), more.end());
    }
    EXPECT_FALSE(std::filesystem::exists(directory.path() / "logs" / "host.log.4"));
    ASSERT_GT(lines.size(), 10'000U);
    int record = 20'000; // the last ones, without a gap
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        std::string number = std::to_string(record--);
        number.insert(0, 5 - number.size(), ' ');
        ASSERT_EQ(*line, "INFO  Record " + number + " of a long run of the smoother");
    }
}

TEST_F(LogRecipesTest, eachLineOfJsonIsARecord)
{
    run("log_recipe_JsonLines");
    const std::vector<std::string> lines = readLines(directory / "host.jsonl");
    ASSERT_EQ(lines.size(), 2U);
    const auto object = [&lines](std::size_t line) {
        return QJsonDocument::fromJson(QByteArray::fromStdString(lines[line])).object();
    };
    EXPECT_EQ(object(0)["message"].toString().toStdString(), "Loaded \"Gr\xC3\xBC\xC3\x9F"
                                                             "e.obj\"\nin 12 ms");
    EXPECT_EQ(object(0)["level"].toString().toStdString(), "INFO");
    EXPECT_THAT(object(0)["file"].toString().toStdString(), HasSubstr("JsonLines.cpp"));
    EXPECT_GT(object(0)["line"].toInt(), 0);
    EXPECT_TRUE(QDateTime::fromString(object(0)["time"].toString(), Qt::ISODateWithMs).isValid());
    EXPECT_GT(object(0)["thread"].toString().toInt(), 0);
    EXPECT_EQ(object(1)["message"].toString().toStdString(), "by printf");
    EXPECT_EQ(object(1)["level"].toString().toStdString(), "WARN");
    EXPECT_FALSE(object(1).contains("file"));
}

TEST_F(LogRecipesTest, threadIdsAreNumbersThatDiffer)
{
    run("log_recipe_ThreadIds");
    ASSERT_EQ(logLines().size(), 2U);
    const QStringList main = match(R"(\[(\d+)\] main thread of process (\d+))", logLines()[0]);
    const QStringList other = match(R"(\[(\d+)\] another thread)", logLines()[1]);
    ASSERT_EQ(main.size(), 3) << logLines()[0];
    ASSERT_EQ(other.size(), 2) << logLines()[1];
    EXPECT_NE(main[1], other[1]);
    // On Linux a debugger's number of the main thread is that of the process.
    constexpr bool isWindows = std::filesystem::path::preferred_separator != '/';
    EXPECT_TRUE(isWindows || main[1] == main[2]) << logLines()[0];
}

TEST_F(LogRecipesTest, theTypedLogWritesWhatItsPageShows)
{
    const ProgramResult result = run("typed_log");
    EXPECT_EQ(result.out, "INFO  meshes/Bunny.obj has 34834 vertices in a box of 1.5 x 1.25 x 1\n"
                          "WARN  Qt says 42\n");
}
