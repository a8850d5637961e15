/// \file
/// What a waypoint costs, counted: times tell of the machine's other work too.

#include <brn_mesh_kernel/diagnostics/Profiler.h>

#include <cstdint>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

namespace {

thread_local std::size_t t_allocations = 0;

} // namespace

// In place of the standard library's, for the whole process: they count. Where they are inlined, GCC takes one for the
// library's and the other for ours.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    ++t_allocations;
    void* const memory = std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

using namespace Brennic::Core;

namespace {

int g_counterReads = 0;

PerformanceCounter countedCounter()
{
    return {[]() -> std::int64_t { return 1'000'000; }, []() -> std::int64_t { return ++g_counterReads; }};
}

class CountedSource final : public IProfilerSource
{
public:
    std::int64_t MemoryUsage() override { return ++memoryReads; }
    std::int64_t FrameCount() override { return ++frameReads; }

    int memoryReads = 0;
    int frameReads = 0;
};

constexpr int waypointCount = 1000;
constexpr std::size_t growth = 16; // how often a list that doubles finds new room for so many

class ProfilerCost : public ::testing::Test
{
protected:
    ProfilerCost()
    {
        g_counterReads = 0;
        profiler.Initialize();
    }

    std::size_t allocationsFor(const wchar_t* name)
    {
        profiler.Start();
        const std::size_t before = t_allocations;
        for (int i = 0; i < waypointCount; ++i)
            profiler.AddWaypoint(name);
        return t_allocations - before;
    }

    Profiler profiler{countedCounter()};
};

} // namespace

TEST_F(ProfilerCost, ofAWaypointIsOneReadOfTheCounter)
{
    allocationsFor(L"a");
    EXPECT_EQ(g_counterReads, 1 + waypointCount);
}

TEST_F(ProfilerCost, ofAWaypointIsOneQuestionForEachFigure)
{
    CountedSource source;
    profiler.SetSource(&source);
    allocationsFor(L"a");
    EXPECT_EQ(source.frameReads, 1 + waypointCount);
    EXPECT_EQ(source.memoryReads, 1 + waypointCount);
}

TEST_F(ProfilerCost, ofAWaypointIsNoMemoryButItsPlaceInTheList)
{
    EXPECT_LE(allocationsFor(L"a"), growth);
}

TEST_F(ProfilerCost, ofALongNameIsOneCopyOfIt)
{
    EXPECT_LE(allocationsFor(L"a name that is longer than what a string keeps in itself"),
              waypointCount + growth);
}
