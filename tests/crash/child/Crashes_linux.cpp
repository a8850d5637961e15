#include "crash/child/PlatformCrashes.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <linux/userfaultfd.h>
#include <malloc.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "crash/child/Sandbox_linux.h"

namespace Brennic::Testing {

namespace {

volatile int g_sink = 0;

BRN_NOT_INLINED void crashByExecutingData()
{
    void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    void (*volatile data)() = reinterpret_cast<void (*)()>(page);
    data();
    g_sink = 1;
}

BRN_NOT_INLINED void crashByTruncatedMapping()
{
    const int file = memfd_create("mesh", MFD_CLOEXEC);
    if (ftruncate(file, 4096) != 0)
        return;
    auto* const bytes =
        static_cast<volatile unsigned char*>(mmap(nullptr, 4096, PROT_READ, MAP_SHARED, file, 0));
    if (ftruncate(file, 0) != 0)
        return;
    g_sink = bytes[0];
    g_sink = 1;
}

BRN_NOT_INLINED void crashByTrap()
{
    asm volatile("int3");
    g_sink = 1;
}

// Whoever reads that memory waits for somebody to fill it.
void* memoryThatHangs()
{
    const int descriptor = static_cast<int>(syscall(SYS_userfaultfd, O_CLOEXEC));
    uffdio_api api{};
    api.api = UFFD_API;
    void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    uffdio_register range{};
    range.range = {reinterpret_cast<std::uint64_t>(page), 4096};
    range.mode = UFFDIO_REGISTER_MODE_MISSING;
    const bool isReady = descriptor >= 0 && ioctl(descriptor, UFFDIO_API, &api) == 0 &&
                         ioctl(descriptor, UFFDIO_REGISTER, &range) == 0;
    if (!isReady)
        std::_Exit(91);
    return page;
}

BRN_NOT_INLINED void crashPointingToMemoryThatHangs()
{
    asm volatile("mov %0, %%r12\n\tud2" : : "r"(memoryThatHangs()) : "r12");
    g_sink = 1;
}

BRN_NOT_INLINED void crashByForbiddenCall()
{
    answerCallsWith({SYS_personality}, Answer::Signal);
    syscall(SYS_personality, 0);
    g_sink = 1;
}

// What follows breaks the C library's heap, and is ended by its own checks.

// Each with chunks that are too large to come from what has been freed before.
constexpr std::size_t large = 60'000;

void fillHolesOfHeap()
{
    for (int i = 0; i != 20; ++i) {
        void* volatile kept = std::malloc(large);
        static_cast<void>(kept);
    }
}

BRN_NOT_INLINED void crashInHeapByTopChunk()
{
    fillHolesOfHeap();
    // Where threads share the heap, one of them may have opened a new hole: then the rest of the heap is elsewhere, what
    // stood here is put back, and the next chunk is tried.
    for (int i = 0; i < 1000; ++i) {
        auto* const last = static_cast<char*>(std::malloc(large));
        void* const end = last + malloc_usable_size(last);
        auto* const sizeOfRest = static_cast<volatile std::size_t*>(end);
        const std::size_t before = *sizeOfRest;
        *sizeOfRest = ~std::size_t{0};
        void* volatile more = std::malloc(large);
        g_sink = more != nullptr ? 1 : 0;
        *sizeOfRest = before;
    }
}

BRN_NOT_INLINED void crashInHeapByFreeList()
{
    fillHolesOfHeap();
    void* volatile chunk = std::malloc(large);
    void* volatile separator = std::malloc(large);
    auto* const links = static_cast<volatile std::size_t*>(chunk);
    std::free(chunk);
    links[0] = links[1] = 0x4141414141414140; // the list's pointers
    void* volatile more = std::malloc(2 * large);
    g_sink = more != nullptr && separator != nullptr ? 1 : 0;
}

BRN_NOT_INLINED void crashInHeapByDoubleFree()
{
    void* volatile chunk = std::malloc(large);
    void* volatile separator = std::malloc(large);
    std::free(chunk);
    std::free(chunk); // NOLINT(clang-analyzer-unix.Malloc): that is the point
    g_sink = separator != nullptr ? 1 : 0;
}

} // namespace

const Crashes& platformCrashes()
{
    static const Crashes table{
        {"execute-data", crashByExecutingData},
        {"truncated-mapping", crashByTruncatedMapping},
        {"trap", crashByTrap},
        {"forbidden-call", crashByForbiddenCall},
        {"pointer-to-hanging-memory", crashPointingToMemoryThatHangs},
        {"heap-top", crashInHeapByTopChunk},
        {"heap-free-list", crashInHeapByFreeList},
        {"heap-double-free", crashInHeapByDoubleFree},
    };
    return table;
}

} // namespace Brennic::Testing
