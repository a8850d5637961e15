#include <brn_mesh_kernel/diagnostics/Profiler.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/VirtualSlot.h"

using namespace Brennic::Core;
using Brennic::Testing::virtualSlot;
using ::testing::ElementsAre;

namespace {

// The clock that the profiler under test sees.
std::int64_t g_frequency = 0;
std::int64_t g_now = 0;

PerformanceCounter fakeCounter()
{
    return {[] { return g_frequency; }, [] { return g_now; }};
}

class FakeSource final : public IProfilerSource
{
public:
    std::int64_t MemoryUsage() override
    {
        if (throws)
            throw std::runtime_error("no figures");
        calls += 'm';
        return memory;
    }
    std::int64_t FrameCount() override
    {
        calls += 'f';
        return frames;
    }

    std::int64_t memory = 0;
    std::int64_t frames = 0;
    std::string calls;
    bool throws = false;
};

class ProfilerTest : public ::testing::Test
{
protected:
    ProfilerTest()
    {
        g_frequency = 1'000'000;
        g_now = 5'000'000;
        profiler.Initialize();
    }

    std::vector<std::wstring> names() const
    {
        std::vector<std::wstring> result;
        for (const Waypoint& waypoint : profiler.Waypoints())
            result.push_back(waypoint.name);
        return result;
    }

    FakeSource source;
    Profiler profiler{fakeCounter()};
};

} // namespace

TEST_F(ProfilerTest, initializeReportsWhetherThereIsACounter)
{
    EXPECT_EQ(profiler.Initialize(), Success);
    g_frequency = 0;
    EXPECT_EQ(profiler.Initialize(), Failure);
}

TEST_F(ProfilerTest, withoutAFrequencyNothingIsRecorded)
{
    g_frequency = 0;
    profiler.Initialize();
    profiler.Start();
    EXPECT_EQ(profiler.AddWaypoint(L"a"), NotRunning);
    profiler.Stop();
    EXPECT_EQ(profiler.ElapsedSinceMark(), 0);
    EXPECT_TRUE(profiler.Waypoints().empty());
}

TEST_F(ProfilerTest, aFrequencyLostDuringARunEndsRecording)
{
    profiler.Start();
    g_frequency = 0;
    profiler.Initialize();
    EXPECT_EQ(profiler.AddWaypoint(L"a"), NotRunning);
    profiler.Stop();
    EXPECT_TRUE(profiler.Waypoints().empty());
}

TEST_F(ProfilerTest, aWaypointWithoutARunIsRefused)
{
    EXPECT_EQ(profiler.AddWaypoint(L"a"), NotRunning);
    EXPECT_TRUE(profiler.Waypoints().empty());
}

TEST_F(ProfilerTest, aWaypointMeasuresFromTheOneBefore)
{
    profiler.Start();
    g_now += 1'234'999;
    EXPECT_EQ(profiler.AddWaypoint(L"a"), Success);
    g_now += 12'000;
    EXPECT_EQ(profiler.AddWaypoint(L"b"), Success);
    ASSERT_EQ(profiler.Waypoints().size(), 2U);
    EXPECT_EQ(profiler.Waypoints()[0].elapsed, 1234);
    EXPECT_EQ(profiler.Waypoints()[1].elapsed, 12);
}

TEST_F(ProfilerTest, aYearBetweenWaypointsDoesNotOverflow)
{
    g_frequency = 1'000'000'000;
    profiler.Initialize();
    profiler.Start();
    g_now += 365LL * 86'400 * 1'000'000'000;
    profiler.AddWaypoint(L"a");
    EXPECT_EQ(profiler.Waypoints().at(0).elapsed, 365LL * 86'400 * 1000);
}

TEST_F(ProfilerTest, withoutASourceFramesAndMemoryAreZero)
{
    profiler.Start();
    g_now += 1'000'000;
    profiler.AddWaypoint(L"a");
    ASSERT_EQ(profiler.Waypoints().size(), 1U);
    EXPECT_EQ(profiler.Waypoints()[0].frames, 0);
    EXPECT_EQ(profiler.Waypoints()[0].memory, 0);
    EXPECT_EQ(profiler.Waypoints()[0].elapsed, 1000);
}

TEST_F(ProfilerTest, framesAndMemoryAreDifferencesSinceTheMark)
{
    source.frames = 100;
    source.memory = 5000;
    profiler.SetSource(&source);
    profiler.Start();
    source.frames = 102;
    source.memory = 4000;
    profiler.AddWaypoint(L"a");
    source.frames = 107;
    source.memory = 4600;
    profiler.AddWaypoint(L"b");
    ASSERT_EQ(profiler.Waypoints().size(), 2U);
    EXPECT_EQ(profiler.Waypoints()[0].frames, 2);
    EXPECT_EQ(profiler.Waypoints()[0].memory, -1000);
    EXPECT_EQ(profiler.Waypoints()[1].frames, 5);
    EXPECT_EQ(profiler.Waypoints()[1].memory, 600);
}

TEST_F(ProfilerTest, framesAreReadBeforeMemory)
{
    profiler.SetSource(&source);
    profiler.Start();
    profiler.AddWaypoint(L"a");
    EXPECT_EQ(source.calls, "fmfm");
}

TEST_F(ProfilerTest, stopRecordsTheEndOnce)
{
    profiler.Start();
    profiler.Stop();
    profiler.Stop();
    EXPECT_THAT(names(), ElementsAre(L"END"));
    EXPECT_EQ(profiler.AddWaypoint(L"a"), NotRunning);
}

TEST_F(ProfilerTest, terminateEndsTheRun)
{
    profiler.Start();
    profiler.Terminate();
    EXPECT_THAT(names(), ElementsAre(L"END"));
}

TEST_F(ProfilerTest, aSecondStartEndsTheFirstRun)
{
    profiler.Start();
    g_now += 3'000;
    profiler.Start();
    g_now += 1'000;
    profiler.AddWaypoint(L"a");
    EXPECT_THAT(names(), ElementsAre(L"END", L"a"));
    EXPECT_EQ(profiler.Waypoints()[0].elapsed, 3);
    EXPECT_EQ(profiler.Waypoints()[1].elapsed, 1);
}

TEST_F(ProfilerTest, theSameSourceChangesNothing)
{
    profiler.SetSource(&source);
    profiler.Start();
    EXPECT_EQ(profiler.SetSource(&source), Success);
    EXPECT_EQ(profiler.AddWaypoint(L"a"), Success);
    EXPECT_THAT(names(), ElementsAre(L"a"));
}

TEST_F(ProfilerTest, anotherSourceEndsTheRunWithTheOldOne)
{
    FakeSource other;
    profiler.SetSource(&source);
    profiler.Start();
    source.frames = 4;
    EXPECT_EQ(profiler.SetSource(&other), Success);
    EXPECT_EQ(profiler.Source(), &other);
    EXPECT_THAT(names(), ElementsAre(L"END"));
    EXPECT_EQ(profiler.Waypoints()[0].frames, 4);
    EXPECT_EQ(profiler.AddWaypoint(L"a"), NotRunning);
    EXPECT_EQ(other.calls, "");
}

TEST_F(ProfilerTest, elapsedSinceMarkMarksAndRecordsNothing)
{
    profiler.Start();
    g_now += 2'000;
    EXPECT_EQ(profiler.ElapsedSinceMark(), 2);
    g_now += 5'000;
    EXPECT_EQ(profiler.ElapsedSinceMark(), 5);
    EXPECT_TRUE(profiler.Waypoints().empty());
}

TEST_F(ProfilerTest, aSourceThatThrowsOpensNoRun)
{
    source.throws = true;
    profiler.SetSource(&source);
    EXPECT_THROW(profiler.Start(), std::runtime_error);
    source.throws = false;
    EXPECT_EQ(profiler.AddWaypoint(L"a"), NotRunning);
}

TEST_F(ProfilerTest, aSourceThatThrowsRecordsNoWaypointAndLosesNone)
{
    profiler.SetSource(&source);
    profiler.Start();
    g_now += 2'000;
    source.throws = true;
    EXPECT_THROW(profiler.AddWaypoint(L"a"), std::runtime_error);
    source.throws = false;
    EXPECT_EQ(profiler.AddWaypoint(L"b"), Success);
    EXPECT_THAT(names(), ElementsAre(L"b"));
    EXPECT_EQ(profiler.Waypoints()[0].elapsed, 2);
}

TEST_F(ProfilerTest, aSourceThatThrowsIsLetGoAllTheSame)
{
    profiler.SetSource(&source);
    profiler.Start();
    source.throws = true;
    EXPECT_THROW(profiler.SetSource(nullptr), std::runtime_error);
    EXPECT_EQ(profiler.Source(), nullptr);
    EXPECT_EQ(profiler.AddWaypoint(L"a"), NotRunning);
    EXPECT_TRUE(profiler.Waypoints().empty());
}

TEST_F(ProfilerTest, waypointsAreCopied)
{
    profiler.Start();
    profiler.AddWaypoint(L"a");
    profiler.Waypoints().clear();
    EXPECT_THAT(names(), ElementsAre(L"a"));
}

TEST_F(ProfilerTest, virtualFunctionsKeepTheirSlots)
{
    EXPECT_EQ(virtualSlot(&Profiler::Initialize), 2U);
    EXPECT_EQ(virtualSlot(&Profiler::Terminate), 3U);
    EXPECT_EQ(virtualSlot(&IProfilerSource::MemoryUsage), 0U);
    EXPECT_EQ(virtualSlot(&IProfilerSource::FrameCount), 1U);
}

TEST(PerformanceCounter, theSystemsCounterRises)
{
    const PerformanceCounter counter = systemPerformanceCounter();
    EXPECT_GT(counter.frequency(), 0);
    const std::int64_t first = counter.now();
    EXPECT_GT(first, 0);
    EXPECT_GE(counter.now(), first);
}
