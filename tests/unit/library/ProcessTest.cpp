#include <brn_mesh_kernel/library/Process.h>

#include <atomic>
#include <optional>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "support/Eventually.h"
#include "support/Latch.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

std::atomic<int> runs{0};

} // namespace

TEST(ProcessTest, everyThreadThatNobodyJoinsRuns)
{
    constexpr int threads = 500;
    for (int i = 0; i < threads; ++i)
        ASSERT_TRUE(startThread([] { ++runs; }));
    EXPECT_TRUE(eventually([] { return runs == threads; })) << runs << " of " << threads;
}

TEST(ProcessTest, theEndOfAThreadHasComeWhenItHasGone)
{
    std::optional<ThreadEnd> end;
    Latch isMade;
    Latch mayGo;
    std::thread thread([&] {
        end.emplace();
        isMade.countDown();
        EXPECT_TRUE(mayGo.wait());
    });
    ASSERT_TRUE(isMade.wait());
    EXPECT_FALSE(end->hasCome());
    const ThreadEnd moved = std::move(*end);
    EXPECT_FALSE(moved.hasCome());
    mayGo.countDown();
    thread.join();
    EXPECT_TRUE(eventually([&] { return moved.hasCome(); }));
}

TEST(ProcessTest, aThreadIsNotToldToWaitForItsOwnEnd)
{
    EXPECT_TRUE(ThreadEnd().hasCome());
}
