#include <brn_mesh_kernel/library/Process.h>

#include <atomic>

#include <gtest/gtest.h>

#include "support/Eventually.h"

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
