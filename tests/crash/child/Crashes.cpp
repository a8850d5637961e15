#include "crash/child/Crashes.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <stdexcept>

#include <fcntl.h>
#include <linux/userfaultfd.h>
#include <malloc.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "crash/child/Sandbox.h"

#define BRN_NOT_INLINED __attribute__((noinline))

namespace Brennic::Testing {

namespace Shapes { // not in the unnamed one, where the compiler would see that only one function can be called

struct Shape
{
    Shape() { measure(); }
    virtual ~Shape() = default;
    Shape(const Shape&) = delete;
    Shape& operator=(const Shape&) = delete;
    virtual void area() = 0;
    BRN_NOT_INLINED void measure()
    {
        Shape* volatile unknown = this;
        unknown->area();
    }
};

struct Circle : Shape
{
    void area() override {}
};

} // namespace Shapes

namespace Depths { // a function of this file alone is compiled into a clone, whose name lldb does not print

volatile bool g_isEndless = true; // the compiler shall not know

BRN_NOT_INLINED int crashByRecursion(int depth)
{
    volatile char frame[256]; // NOLINT(modernize-avoid-c-arrays)
    frame[0] = static_cast<char>(depth);
    const int below = g_isEndless ? crashByRecursion(depth + 1) : 0;
    return below + frame[0];
}

} // namespace Depths

namespace {

volatile int g_sink = 0;

BRN_NOT_INLINED void crashByNullWrite()
{
    volatile int* volatile nothing = nullptr;
    *nothing = 1; // NOLINT(clang-analyzer-core.NullDereference): that is the point
    g_sink = 1;
}

BRN_NOT_INLINED void crashByJumpToNull()
{
    void (*volatile nowhere)() = nullptr;
    nowhere(); // NOLINT(clang-analyzer-core.CallAndMessage): that is the point
    g_sink = 1;
}

BRN_NOT_INLINED void crashByExecutingData()
{
    void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    void (*volatile data)() = reinterpret_cast<void (*)()>(page);
    data();
    g_sink = 1;
}

BRN_NOT_INLINED void crashByAbort()
{
    std::abort();
}

BRN_NOT_INLINED void crashByException()
{
    throw std::runtime_error("nobody catches this");
}

BRN_NOT_INLINED void crashByPureVirtualCall()
{
    const Shapes::Circle circle;
    g_sink = 1;
}

BRN_NOT_INLINED void crashByDivision()
{
    volatile int many = 10;
    volatile int zero = 0;
    g_sink = many / zero; // NOLINT(clang-analyzer-core.DivideZero): that is the point
}

BRN_NOT_INLINED void crashByIllegalInstruction()
{
    asm volatile("ud2");
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
    auto* const last = static_cast<char*>(std::malloc(large));
    std::memset(last + malloc_usable_size(last), 0xff, sizeof(std::size_t)); // the size of what is left
    void* volatile more = std::malloc(large);
    g_sink = more != nullptr ? 1 : 0;
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

const std::map<std::string, std::function<void()>>& crashes()
{
    static const std::map<std::string, std::function<void()>> table{
        {"null-write", crashByNullWrite},
        {"jump-to-null", crashByJumpToNull},
        {"execute-data", crashByExecutingData},
        {"abort", crashByAbort},
        {"throw", crashByException},
        {"pure-virtual", crashByPureVirtualCall},
        {"division", crashByDivision},
        {"illegal-instruction", crashByIllegalInstruction},
        {"truncated-mapping", crashByTruncatedMapping},
        {"trap", crashByTrap},
        {"forbidden-call", crashByForbiddenCall},
        {"pointer-to-hanging-memory", crashPointingToMemoryThatHangs},
        {"stack-overflow", [] { Depths::crashByRecursion(0); }},
        {"heap-top", crashInHeapByTopChunk},
        {"heap-free-list", crashInHeapByFreeList},
        {"heap-double-free", crashInHeapByDoubleFree},
    };
    return table;
}

} // namespace

bool crash(const std::string& kind)
{
    const auto found = crashes().find(kind);
    if (found == crashes().end())
        return false;
    found->second();
    return true;
}

} // namespace Brennic::Testing
