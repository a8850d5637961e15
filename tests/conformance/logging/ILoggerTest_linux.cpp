#include <brn_mesh_kernel/logging/ILogger.h>

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Eventually.h"
#include "support/KernelFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using ::testing::Contains;

namespace {

class FullDiskTest : public KernelFixture
{
};

} // namespace

TEST_F(FullDiskTest, loggingToTheFileResumesWhenAFullDiskHasRoomAgain)
{
    std::filesystem::create_symlink("/dev/full", directory / "host.log");
    initializeWithPlainLines();
    logger().Log(Info, L"nobody can keep this");
    logger().Log(Info, L"nor this");
    EXPECT_EQ(console.text(), "nobody can keep this\nnor this\n");
    std::filesystem::remove(directory / "host.log");
    EXPECT_TRUE(eventually([&] {
        logger().Log(Info, L"room");
        return !logLines().empty();
    }));
    logger().Log(Info, L"last");
    EXPECT_EQ(logLines().back(), "last");
    EXPECT_THAT(logLines(), Contains("room"));
}
