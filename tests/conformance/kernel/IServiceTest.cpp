#include <brn_mesh_kernel/kernel/IService.h>

#include <type_traits>

#include <gtest/gtest.h>

#include "support/VirtualSlot.h"

using namespace Brennic::Core;
using Brennic::Testing::virtualSlot;

namespace {

struct MinimalService : IService
{
    EKvsStatus Initialize() override { return Success; }

    int state = 7;
};

} // namespace

TEST(IService, terminateDoesNothingUnlessOverridden)
{
    MinimalService service;
    service.Terminate();
    EXPECT_EQ(service.state, 7);
}

TEST(IService, servicesCanBeCopiedAndAssigned)
{
    MinimalService service;
    service.state = 8;
    MinimalService copy(service);
    EXPECT_EQ(copy.state, 8);
    MinimalService assigned;
    assigned = service;
    EXPECT_EQ(assigned.state, 8);
}

TEST(IService, theClassIsAnInterface)
{
    EXPECT_TRUE(std::is_abstract_v<IService>);
    EXPECT_TRUE(std::has_virtual_destructor_v<IService>);
    EXPECT_EQ(sizeof(IService), sizeof(void*)); // no data
}

TEST(IService, virtualFunctionsKeepTheirSlots)
{
    EXPECT_EQ(virtualSlot(&IService::Initialize), 2U);
    EXPECT_EQ(virtualSlot(&IService::Terminate), 3U);
}
