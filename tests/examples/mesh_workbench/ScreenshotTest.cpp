/// \file
/// Runs the program for its picture. BRN_WORKBENCH_PICTURE names a file that keeps it, for the documentation.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <QImage>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/RunProgram.h"
#include "support/TemporaryDirectory.h"
#include "widgets/WidgetFixture.h"

using namespace Brennic::Testing;
using ::testing::HasSubstr;

namespace {

constexpr const char* demoMesh = "/usr/share/glmark2/models/bunny.obj";

class ScreenshotTest : public WidgetFixture // for the colours that the program has
{
protected:
    ProgramResult run(const std::vector<std::string>& arguments)
    {
        return runProgram(MESH_WORKBENCH_PATH, arguments, directory.path());
    }
    QImage picture() const { return QImage(QString::fromStdString((directory / "window.png").u8string())); }

    TemporaryDirectory directory;
};

std::set<QRgb> colorsOf(const QImage& image)
{
    std::set<QRgb> colors;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            colors.insert(image.pixel(x, y));
    return colors;
}

// How often a run of at least so many pixels of the colour begins in a column.
int blocksInColumn(const QImage& image, int x, QRgb color, int leastHeight)
{
    int blocks = 0;
    for (int y = 0, height = 0; y < image.height(); ++y) {
        height = image.pixel(x, y) == color ? height + 1 : 0;
        blocks += height == leastHeight ? 1 : 0;
    }
    return blocks;
}

int mostBlocks(const QImage& image, QRgb color, int leastHeight)
{
    int most = 0;
    for (int x = 0; x < image.width(); ++x)
        most = std::max(most, blocksInColumn(image, x, color, leastHeight));
    return most;
}

} // namespace

TEST_F(ScreenshotTest, theProgramSavesAPictureWithABarForEachStageAndQuits)
{
    const ProgramResult result =
        run({demoMesh, "--subdivide", "1", "--iterations", "20", "--screenshot", "window.png"});
    ASSERT_TRUE(result.hasExited) << result.err;
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const QImage image = picture();
    EXPECT_GE(image.width(), 800);
    EXPECT_GE(image.height(), 500);
    EXPECT_GT(colorsOf(image).size(), 20U);
    const QRgb barColor = QApplication::palette().color(QPalette::Highlight).rgb();
    EXPECT_EQ(mostBlocks(image, barColor, 10), 4) << "bars of Load, Subdivide, Smooth and Save";
    EXPECT_LT(std::filesystem::file_size(directory / "window.png"), 150'000U);
    if (const char* const keep = std::getenv("BRN_WORKBENCH_PICTURE"))
        std::filesystem::copy_file(directory / "window.png", keep,
                                   std::filesystem::copy_options::overwrite_existing);
}

TEST_F(ScreenshotTest, aRunThatFailsEndsTheProgramWithOneLineAndNoPicture)
{
    const ProgramResult result = run({"missing.obj", "--screenshot", "window.png", "--log-level", "off"});
    EXPECT_TRUE(result.hasExited);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(splitLines(result.err).back(), // before that Qt may say what it misses
              "mesh_workbench: cannot load missing.obj: there is no such file");
    EXPECT_FALSE(std::filesystem::exists(directory / "window.png"));
}

TEST_F(ScreenshotTest, aPictureThatCannotBeSavedIsToldBeforeTheWork)
{
    const ProgramResult result = run({demoMesh, "--screenshot", "missing/window.png", "--log-level", "off"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("cannot save missing/window.png: there is no directory"));
    EXPECT_FALSE(std::filesystem::exists(directory / "bunny_smoothed.obj"));
}

TEST_F(ScreenshotTest, wrongUsageEndsWithCodeTwo)
{
    const std::vector<std::vector<std::string>> wrong = {{"--screenshot", "window.png"},
                                                         {demoMesh, "--iterations", "-1"},
                                                         {demoMesh, "--unknown"},
                                                         {demoMesh, "--output", "window.xyz"}};
    for (const auto& arguments : wrong)
        EXPECT_EQ(run(arguments).exitCode, 2) << ::testing::PrintToString(arguments);
}
