#include <brn_mesh_kernel/tasks/EQualityOfService.h>

#include <cstdint>
#include <type_traits>

#include <gtest/gtest.h>

using namespace Brennic::Core;

TEST(EQualityOfService, hasTheFixedValues)
{
    EXPECT_EQ(static_cast<int>(eQOS_GUI), 0);
    EXPECT_EQ(static_cast<int>(eQOS_High), 1);
    EXPECT_EQ(static_cast<int>(eQOS_Normal), 2);
    EXPECT_EQ(static_cast<int>(eQOS_Low), 3);
    EXPECT_EQ(static_cast<int>(eQOS_Background), 4);
}

TEST(EQualityOfService, is32BitsWide)
{
    EXPECT_EQ(sizeof(EQualityOfService), 4U);
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<EQualityOfService>, std::int32_t>));
}
