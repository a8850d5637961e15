#include <brn_mesh_common/WinUtil.h>

#include <atomic>
#include <cstddef>

#include <gtest/gtest.h>

#include <unistd.h>

#include "support/Files.h"
#include "support/TemporaryDirectory.h"

using namespace Brennic;
using namespace Brennic::Testing;

namespace {

constexpr int hasAllocated = 77;

std::atomic<bool> g_mayAllocate{true};

} // namespace

// What the C library's heap offers besides malloc, for a wrapper that tells on who uses it.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(std::size_t size);
void __libc_free(void* memory);
// NOLINTEND(bugprone-reserved-identifier)

void* malloc(std::size_t size)
{
    if (!g_mayAllocate)
        _exit(hasAllocated);
    return __libc_malloc(size);
}

void free(void* memory)
{
    if (!g_mayAllocate && memory != nullptr)
        _exit(hasAllocated);
    __libc_free(memory);
}
}

TEST(DumpAllocation, theWrapperTellsOnWhoAllocates)
{
    const auto allocate = [] {
        g_mayAllocate = false;
        const std::string text(1000, 'x');
        g_mayAllocate = text.empty();
    };
    EXPECT_EXIT(allocate(), ::testing::ExitedWithCode(hasAllocated), "");
}

TEST(DumpAllocation, aDumpAllocatesNothing)
{
    const TemporaryDirectory directory;
    const std::wstring path = wide(directory / "asked.dmp");
    g_mayAllocate = false;
    const bool isWritten = WinUtil::DumpMiniDump(nullptr, path.c_str());
    g_mayAllocate = true;
    EXPECT_TRUE(isWritten);
}
