/// \file
/// What the remaining time has to be in recorded runs. Each line of the files in `recorded_runs` has the seconds since the
/// start and the exact fraction, read ten times a second from a tree of progress while other work kept the machine busy.
///
/// `mesh` is a mesh that was subdivided, smoothed and saved. In the others a program waited in each step, as for a device:
///
///     even     1200 steps of 25 ms
///     noisy    600 steps of 50 ms in the mean, exponentially distributed
///     slower   600 steps of 25 ms, then 300 of 75, from 15 s on
///     faster   200 steps of 75 ms, then 500 of 25, from 15 s on
///     pause    400 steps of 25 ms before and after a pause from 10 to 20 s
///     burst    200 steps of 1.5 ms, then 300 of 60, from 0.3 s on
///     coarse   25 steps of 1.2 s
///     unknown  800 steps of 25 ms, whose number is known from 5 s on
///     parts    400 steps of 25 ms, to which 600 are added after 5 s
///
/// The mesh is saved in its last second, in one step: that is not demanded.

#include <brn_mesh_kernel/progress/ProgressEstimator.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using Brennic::Core::ProgressEstimator;

namespace {

struct Sample
{
    double time = 0;
    double fraction = 0;
};

std::vector<Sample> recordedRun(const std::string& name)
{
    std::ifstream file(BRN_RECORDED_RUNS "/" + name + ".txt");
    std::vector<Sample> samples;
    for (Sample sample; file >> sample.time >> sample.fraction;)
        samples.push_back(sample);
    return samples;
}

// A stretch of a run, in which the remaining time has to be right to a part of it, or to half a second.
struct Demand
{
    std::string run;
    double from;
    double to;
    double accuracy;
    double surprise = 0; // what happens later, in seconds: nobody can know
};

void PrintTo(const Demand& demand, std::ostream* out)
{
    *out << demand.run << " from " << demand.from << " s";
}

// Looks at every so-manieth sample, beginning with the given one.
void judge(const Demand& demand, std::size_t every, std::size_t begin)
{
    const std::vector<Sample> samples = recordedRun(demand.run);
    ASSERT_GT(samples.size(), 100U);
    ProgressEstimator estimator;
    int judged = 0;
    for (std::size_t i = begin; i < samples.size(); i += every) {
        const double now = samples[i].time;
        estimator.add(now, samples[i].fraction);
        if (now < demand.from || now >= demand.to)
            continue;
        const double left = samples.back().time - demand.surprise - now;
        const std::optional<double> remaining = estimator.remaining(now);
        ASSERT_TRUE(remaining) << now;
        EXPECT_NEAR(*remaining, left, std::max(0.5, demand.accuracy * left)) << "at " << now;
        ++judged;
    }
    EXPECT_GT(judged, 3);
}

class RecordedRun : public ::testing::TestWithParam<Demand>
{
};

constexpr double end = 1000;

} // namespace

TEST_P(RecordedRun, isJudged)
{
    judge(GetParam(), 1, 0);
}

TEST_P(RecordedRun, isJudgedAsWellByWhoLooksThreeTimesASecond)
{
    for (std::size_t begin = 0; begin < 3; ++begin)
        judge(GetParam(), 3, begin);
}

INSTANTIATE_TEST_SUITE_P(
    Of, RecordedRun,
    ::testing::Values(Demand{"even", 1.2, end, 0.05}, Demand{"noisy", 4, end, 0.2},
                      Demand{"slower", 1.2, 15, 0.05, 15}, // at the end it will have taken longer
                      Demand{"slower", 17.5, end, 0.1}, Demand{"faster", 2, 15, 0.05, -25},
                      Demand{"faster", 17.5, end, 0.1}, Demand{"pause", 1.2, 10, 0.05, 10},
                      Demand{"pause", 22.5, end, 0.1}, Demand{"burst", 2.8, end, 0.1},
                      Demand{"coarse", 6, end, 0.1}, Demand{"unknown", 6, end, 0.1},
                      Demand{"parts", 1.2, 5, 0.05, 15}, Demand{"parts", 5.3, end, 0.1},
                      Demand{"mesh", 5, 13.5, 0.25}));

TEST(ProgressEstimator, evenAndNoisyRunsHaveASteadyRemainingTime)
{
    for (const auto& [name, largestJump] :
         {std::pair("even", 0.5), std::pair("coarse", 0.7), std::pair("noisy", 1.5)}) {
        ProgressEstimator estimator;
        std::optional<double> before;
        for (const Sample& sample : recordedRun(name)) {
            estimator.add(sample.time, sample.fraction);
            const std::optional<double> remaining = estimator.remaining(sample.time);
            if (sample.time < 4)
                continue;
            if (before && remaining) {
                EXPECT_NEAR(*remaining, *before, largestJump) << name << " at " << sample.time;
            }
            before = remaining;
        }
        EXPECT_TRUE(before) << name;
    }
}

TEST(ProgressEstimator, theSpeedIsFollowedToo)
{
    ProgressEstimator estimator;
    for (const Sample& sample : recordedRun("slower")) {
        estimator.add(sample.time, sample.fraction);
        if (sample.time > 1.2 && sample.time < 15) {
            EXPECT_NEAR(estimator.fractionPerSecond(sample.time), 40 / 900.0, 0.05 * 40 / 900.0)
                << sample.time;
        }
        if (sample.time > 17.5) {
            EXPECT_NEAR(estimator.fractionPerSecond(sample.time), 13.33 / 900, 0.1 * 13.33 / 900)
                << sample.time;
        }
    }
}

TEST(ProgressEstimator, whileTheWorkStandsStillTheRemainingTimeGrows)
{
    ProgressEstimator estimator;
    double before = 0;
    for (const Sample& sample : recordedRun("pause")) {
        estimator.add(sample.time, sample.fraction);
        if (sample.time < 10.5 || sample.time > 19.5)
            continue;
        const double remaining = estimator.remaining(sample.time).value_or(0);
        EXPECT_GT(remaining, before) << sample.time;
        before = remaining;
    }
    EXPECT_GT(before, 18);
    EXPECT_LT(before, 22);
}

TEST(ProgressEstimator, whoLooksSeldomFollowsAChangeInSevenLooks)
{
    constexpr double change = 20;
    for (const double speed : {0.03, 0.003}) { // instead of a hundredth a second
        const double wholeTime = change + 0.8 / speed;
        for (const double pause : {1.0, 2.0, 4.0}) {
            ProgressEstimator estimator;
            for (double now = 0.3; now < wholeTime - 1; now += pause) {
                estimator.add(now, now < change ? 0.01 * now : 0.2 + speed * (now - change));
                const double left = wholeTime - now;
                if (now > change + 7 * pause) {
                    EXPECT_NEAR(estimator.remaining(now).value_or(end), left, 0.1 * left) << pause;
                }
            }
        }
    }
}

TEST(ProgressEstimator, nothingIsSaidWhileTheTotalIsNotKnown)
{
    ProgressEstimator estimator;
    for (const Sample& sample : recordedRun("unknown")) {
        if (sample.time > 4.9)
            break;
        estimator.add(sample.time, sample.fraction);
        EXPECT_FALSE(estimator.remaining(sample.time)) << sample.time;
        EXPECT_EQ(estimator.fractionPerSecond(sample.time), 0) << sample.time;
    }
}

TEST(ProgressEstimator, nothingIsSaidInTheFirstSecond)
{
    ProgressEstimator estimator;
    EXPECT_FALSE(estimator.remaining(0));
    for (int tick = 0; tick < 10; ++tick) {
        estimator.add(tick / 10.0, tick / 100.0);
        EXPECT_FALSE(estimator.remaining(tick / 10.0)) << tick;
        EXPECT_EQ(estimator.fractionPerSecond(tick / 10.0), 0) << tick;
    }
    estimator.add(1, 0.1);
    EXPECT_NEAR(estimator.remaining(1).value_or(0), 9, 1e-9);
    EXPECT_NEAR(estimator.fractionPerSecond(1), 0.1, 1e-9);
}

TEST(ProgressEstimator, oneLookIsEnoughForATwentiethAndNotForLess)
{
    ProgressEstimator late;
    late.add(60, 0.5);
    EXPECT_NEAR(late.remaining(60).value_or(0), 60, 1e-9);
    ProgressEstimator early;
    early.add(2, 0.01);
    EXPECT_FALSE(early.remaining(2));
}

TEST(ProgressEstimator, workThatBeginsAnewIsJudgedAnew)
{
    ProgressEstimator estimator;
    for (int tick = 1; tick <= 100; ++tick)
        estimator.add(tick / 10.0, tick / 200.0);
    estimator.add(10.1, 0);
    EXPECT_FALSE(estimator.remaining(10.1));
    for (int tick = 1; tick <= 20; ++tick)
        estimator.add(10.1 + tick / 10.0, tick / 100.0);
    EXPECT_NEAR(estimator.remaining(12.1).value_or(0), 8, 1e-6);
}

TEST(ProgressEstimator, nothingRemainsOfCompleteWork)
{
    ProgressEstimator estimator;
    for (int tick = 1; tick <= 20; ++tick)
        estimator.add(tick / 10.0, tick / 20.0);
    EXPECT_EQ(estimator.remaining(2).value_or(-1), 0);
    EXPECT_EQ(estimator.remaining(5).value_or(-1), 0);
}

TEST(ProgressEstimator, aLongRunTakesNoMoreMemoryAndIsSteady)
{
    ProgressEstimator estimator;
    for (int tick = 1; tick <= 50'000; ++tick) {
        const double time = tick;
        estimator.add(time, time / 100'000);
        if (tick % 1'000 == 0) {
            EXPECT_NEAR(estimator.remaining(time).value_or(0), 100'000 - time, 1) << time;
        }
    }
    EXPECT_LE(estimator.sampleCount(), 8 * 50 + 2);
}
