#include <brn_mesh_kernel/diagnostics/CrashStack.h>

#include <thread>

#include <gtest/gtest.h>

#include <windows.h>

using namespace Brennic::Core;

namespace {

ULONG reserveOfThisThread()
{
    ULONG size = 0;
    SetThreadStackGuarantee(&size);
    return size;
}

} // namespace

TEST(CrashStack, keepsAReserveOfItsThreadsStack)
{
    std::thread([] {
        const ULONG before = reserveOfThisThread();
        const CrashStack crashStack;
        EXPECT_TRUE(crashStack.isInstalled());
        EXPECT_LT(before, 64U * 1024);
        EXPECT_GE(reserveOfThisThread(), 64U * 1024);
    }).join();
}
