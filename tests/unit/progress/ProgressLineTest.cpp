#include <brn_mesh_kernel/progress/ProgressLine.h>

#include <limits>

#include <gtest/gtest.h>

using Brennic::Core::progressLine;
using Brennic::Core::RunState;

namespace {

RunState state(double fraction, double seconds)
{
    return {"Smooth", fraction, std::chrono::duration<double>(seconds)};
}

} // namespace

TEST(ProgressLine, aWideLineShowsEverything)
{
    EXPECT_EQ(progressLine(state(0.5, 7), 68),
              "Smooth     [############------------]  50 %  0:07 elapsed  0:07 left");
}

TEST(ProgressLine, theBarTakesTheRoomThatIsThere)
{
    EXPECT_EQ(progressLine(state(0.61, 7), 60),
              "Smooth     [#########-------]  61 %  0:07 elapsed  0:04 left");
    for (std::size_t width = 0; width < 200; ++width)
        EXPECT_LE(progressLine(state(0.61, 4000), width).size(), width) << width;
}

TEST(ProgressLine, aNarrowLineLosesTheBarThenTheTimesThenThePercentage)
{
    EXPECT_EQ(progressLine(state(0.5, 7), 42), "Smooth      50 %  0:07 elapsed  0:07 left");
    EXPECT_EQ(progressLine(state(0.5, 7), 20), "Smooth      50 %");
    EXPECT_EQ(progressLine(state(0.5, 7), 10), "Smooth    ");
    EXPECT_EQ(progressLine(state(0.5, 7), 3), "Smo");
    EXPECT_EQ(progressLine(state(0.5, 7), 0), "");
}

TEST(ProgressLine, theRemainingTimeIsLeftOutUntilItCanBeJudged)
{
    EXPECT_EQ(progressLine(state(0.0, 75), 30), "Smooth       0 %  1:15 elapsed");
}

TEST(ProgressLine, fractionsOutsideTheRangeAreCutOff)
{
    EXPECT_EQ(progressLine(state(1.5, 1), 16), "Smooth     100 %");
    EXPECT_EQ(progressLine(state(-1, 1), 16), "Smooth       0 %");
}

TEST(ProgressLine, whatIsNoNumberIsNothingDone)
{
    EXPECT_EQ(progressLine(state(std::numeric_limits<double>::quiet_NaN(), 1), 16), "Smooth       0 %");
    EXPECT_EQ(progressLine(state(std::numeric_limits<double>::infinity(), 1), 16), "Smooth     100 %");
}

TEST(ProgressLine, widthIsCountedInColumns)
{
    RunState wide = state(0.5, 7);
    wide.stage = "\xE7\xB6\xB2\xE6\xA0\xBC"; // two wide characters
    EXPECT_EQ(progressLine(wide, 20), "\xE7\xB6\xB2\xE6\xA0\xBC        50 %");
    EXPECT_EQ(progressLine(wide, 3), "\xE7\xB6\xB2");
}

TEST(ProgressLine, aDescriptionOfSeveralLinesIsShownInOne)
{
    RunState lines = state(0.5, 7);
    lines.stage = "one\ntwo\x1b[2J";
    EXPECT_EQ(progressLine(lines, 20), "one two [2J  50 %");
}
