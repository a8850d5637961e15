#include <brn_mesh_kernel/progress/Percent.h>

#include <limits>

#include <gtest/gtest.h>

using Brennic::Core::toPercent;

TEST(Percent, everyHundredthIsWhatItIs)
{
    for (int percent = 0; percent <= 100; ++percent) {
        EXPECT_EQ(toPercent(percent / 100.0), percent);
        EXPECT_EQ(toPercent(static_cast<float>(percent) / 100.0F), percent);
    }
}

TEST(Percent, whatLiesBetweenIsRoundedDown)
{
    EXPECT_EQ(toPercent(0.019), 1);
    EXPECT_EQ(toPercent(0.019F), 1);
    EXPECT_EQ(toPercent(0.6199), 61);
}

TEST(Percent, onlyWhatIsCompleteHasAHundred)
{
    EXPECT_EQ(toPercent(0.999'999'999'999), 99);
    EXPECT_EQ(toPercent(0.999'999'9F), 99);
    EXPECT_EQ(toPercent(1.0), 100);
    EXPECT_EQ(toPercent(1.0F), 100);
}

TEST(Percent, whatIsNoPartOfAWholeIsCutOff)
{
    EXPECT_EQ(toPercent(-0.5), 0);
    EXPECT_EQ(toPercent(-0.5F), 0);
    EXPECT_EQ(toPercent(1e300), 100);
    EXPECT_EQ(toPercent(7.0F), 100);
    EXPECT_EQ(toPercent(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(toPercent(std::numeric_limits<float>::quiet_NaN()), 0);
}
