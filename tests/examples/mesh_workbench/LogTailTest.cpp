#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LogTail.h"
#include "support/Files.h"
#include "support/TaskFixture.h"
#include "support/TemporaryDirectory.h"

using Brennic::Testing::serveUntil;
using Brennic::Testing::writeFile;
using ::testing::ElementsAre;

namespace {

class LogTailTest : public Brennic::Testing::TaskFixture
{
protected:
    void follow()
    {
        tail = std::make_unique<LogTail>(QString::fromStdString(file.u8string()));
        QObject::connect(tail.get(), &LogTail::linesArrived, tail.get(), [this](const QString& text) {
            for (const std::string& line : Brennic::Testing::splitLines(text.toStdString()))
                lines.push_back(line);
        });
    }
    void append(const std::string& bytes) { std::ofstream(file, std::ios::binary | std::ios::app) << bytes; }

    Brennic::Testing::TemporaryDirectory directory;
    std::filesystem::path file = directory / "host.log";
    std::unique_ptr<LogTail> tail;
    std::vector<std::string> lines;
};

} // namespace

TEST_F(LogTailTest, onlyWhatIsAddedIsRead)
{
    writeFile(file, "yesterday\n");
    follow();
    append("today\n");
    tail->catchUp();
    EXPECT_THAT(lines, ElementsAre("today"));
}

TEST_F(LogTailTest, linesArriveByThemselves)
{
    follow();
    append("one\ntwo\n");
    EXPECT_TRUE(serveUntil([&] { return lines.size() == 2; }));
    EXPECT_THAT(lines, ElementsAre("one", "two"));
}

TEST_F(LogTailTest, aLineIsReadWhenItIsWhole)
{
    follow();
    append("first\nsec");
    tail->catchUp();
    EXPECT_THAT(lines, ElementsAre("first"));
    append("ond\n");
    tail->catchUp();
    EXPECT_THAT(lines, ElementsAre("first", "second"));
}

TEST_F(LogTailTest, nothingIsLostWhenTheFileIsRolledOver)
{
    follow();
    append("before\n");
    tail->catchUp();
    append("last of the old one\n");
    std::filesystem::rename(file, file.string() + ".1");
    append("new\n");
    tail->catchUp();
    EXPECT_THAT(lines, ElementsAre("before", "last of the old one", "new"));
}

TEST_F(LogTailTest, aLineWithoutAnEndInSightComesInWholeCharacters)
{
    follow();
    std::string line = "a";
    while (line.size() < 200'000)
        line += "\xE2\x82\xAC"; // three bytes, so that pieces end inside
    append(line + '\n');
    tail->catchUp();
    std::string all;
    for (const std::string& piece : lines)
        all += piece;
    EXPECT_TRUE(all == line);
}

TEST_F(LogTailTest, aFileThatIsNotThereYetIsNoError)
{
    follow();
    tail->catchUp();
    EXPECT_TRUE(lines.empty());
    append("there it is\n");
    tail->catchUp();
    EXPECT_THAT(lines, ElementsAre("there it is"));
}
