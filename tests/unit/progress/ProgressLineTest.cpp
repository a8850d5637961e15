#include <brn_mesh_kernel/progress/ProgressLine.h>

#include <limits>

#include <gtest/gtest.h>

using Brennic::Core::progressLine;
using Brennic::Core::RunState;

namespace {

RunState state(double fraction, double seconds)
{
    RunState state{"Smooth", fraction, std::chrono::duration<double>(seconds)};
    if (fraction > 0 && fraction < 1)
        state.left = state.elapsed * (1 - fraction) / fraction;
    return state;
}

RunState leaving(double seconds)
{
    RunState state{"Smooth", 0.5, std::chrono::duration<double>(7)};
    state.left = std::chrono::duration<double>(seconds);
    return state;
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

TEST(ProgressLine, theTimeThatIsLeftIsShort)
{
    EXPECT_EQ(progressLine(leaving(83), 42), "Smooth      50 %  0:07 elapsed  1:23 left");
    EXPECT_EQ(progressLine(leaving(3599), 42), "Smooth      50 %  0:07 elapsed  59:59 left");
    EXPECT_EQ(progressLine(leaving(3723), 44), "Smooth      50 %  0:07 elapsed  1:02:03 left");
    EXPECT_EQ(progressLine(leaving(359'999), 46), "Smooth      50 %  0:07 elapsed  99:59:59 left");
}

TEST(ProgressLine, aTimeThatIsNotWorthTellingIsLeftOut)
{
    EXPECT_EQ(progressLine(leaving(0), 42), "Smooth      50 %  0:07 elapsed");
    EXPECT_EQ(progressLine(leaving(0.4), 42), "Smooth      50 %  0:07 elapsed");
    EXPECT_EQ(progressLine(leaving(0.6), 42), "Smooth      50 %  0:07 elapsed  0:01 left");
    EXPECT_EQ(progressLine(leaving(360'000), 42), "Smooth      50 %  0:07 elapsed");
    EXPECT_EQ(progressLine(leaving(std::numeric_limits<double>::infinity()), 42),
              "Smooth      50 %  0:07 elapsed");
}

TEST(ProgressLine, everyHundredthIsShownAsWhatItIs)
{
    for (int percent = 0; percent <= 100; ++percent) {
        const std::string number = std::to_string(percent);
        EXPECT_EQ(progressLine(state(percent / 100.0, 1), 16),
                  "Smooth    " + std::string(4 - number.size(), ' ') + number + " %");
    }
    EXPECT_EQ(progressLine(state(0.999'999'999'999, 1), 16), "Smooth      99 %");
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

TEST(ProgressLine, theEndStandsInPlaceOfTheTimeThatIsLeft)
{
    RunState cancelled = state(0.5, 7);
    cancelled.end = "cancelled";
    EXPECT_EQ(progressLine(cancelled, 60), "Smooth     [########--------]  50 %  0:07 elapsed  cancelled");
    EXPECT_EQ(progressLine(cancelled, 42), "Smooth      50 %  0:07 elapsed  cancelled");
    EXPECT_EQ(progressLine(cancelled, 40), "Smooth      50 %  cancelled");
    EXPECT_EQ(progressLine(cancelled, 20), "Smooth      50 %  ca");
    EXPECT_EQ(progressLine(cancelled, 3), "Smo");
}

TEST(ProgressLine, aLongEndIsCutAndStaysInOneLine)
{
    RunState failed = state(0.5, 7);
    failed.end = "failed: cannot save\nthe mesh " + std::string(500, 'x');
    EXPECT_EQ(progressLine(failed, 48), "Smooth      50 %  failed: cannot save the mesh x");
    for (std::size_t width = 0; width < 700; ++width)
        EXPECT_LE(progressLine(failed, width).size(), width) << width;
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
