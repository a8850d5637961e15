#include "crash/child/PlatformCrashes.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <windows.h>

namespace Brennic::Testing {

namespace {

volatile int g_sink = 0;

BRN_NOT_INLINED void crashByExecutingData()
{
    void* const page = VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    const auto data = reinterpret_cast<void (*)()>(page);
    data();
    g_sink = 1;
}

BRN_NOT_INLINED void crashByTrap()
{
    DebugBreak();
    g_sink = 1;
}

// Of the C library that hosts of other compilers use; it has been loaded in the situation "other-c-library".
template <typename Function>
Function ucrtFunction(const char* name)
{
    const HMODULE library = GetModuleHandleW(L"ucrtbase.dll");
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

BRN_NOT_INLINED void crashByOthersAbort()
{
    ucrtFunction<void (*)()>("abort")();
    g_sink = 1;
}

BRN_NOT_INLINED void crashByPureCall()
{
    ucrtFunction<void (*)()>("_purecall")();
    g_sink = 1;
}

BRN_NOT_INLINED void crashByInvalidParameter()
{
    using Copy = int (*)(char* to, std::size_t size, const char* from);
    g_sink = ucrtFunction<Copy>("strcpy_s")(nullptr, 0, "text");
}

BRN_NOT_INLINED void crashByRaisedException()
{
    RaiseException(0xE0000001, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    g_sink = 1;
}

BRN_NOT_INLINED void crashByTerminate()
{
    std::terminate();
}

// What is caught is no crash.
void catchAnException()
{
    try {
        throw std::runtime_error("somebody catches this");
    } catch (const std::runtime_error&) {
        g_sink = 1;
    }
}

// The heap's own checks find what has been overwritten, or the links lead nowhere.
BRN_NOT_INLINED void crashInHeapByFreeList()
{
    constexpr std::size_t size = 4096;
    for (int round = 0; round != 1000; ++round) {
        void* volatile chunk = std::malloc(size);
        auto* volatile bytes = static_cast<char*>(chunk);
        std::free(chunk);
        std::memset(bytes - 16, 0x41, size);
    }
    void* volatile more = std::malloc(size);
    std::free(more);
    g_sink = 1;
}

// No other thread gets memory any more.
BRN_NOT_INLINED void crashWithHeapLocked()
{
    HeapLock(GetProcessHeap());
    volatile int* volatile nothing = nullptr;
    *nothing = 1;
    g_sink = 1;
}

} // namespace

const Crashes& platformCrashes()
{
    static const Crashes table{
        {"execute-data", crashByExecutingData},
        {"trap", crashByTrap},
        {"invalid-parameter", crashByInvalidParameter},
        {"others-abort", crashByOthersAbort},
        {"pure-call", crashByPureCall},
        {"raised-exception", crashByRaisedException},
        {"terminate", crashByTerminate},
        {"caught-exception", catchAnException},
        {"heap-locked", crashWithHeapLocked},
        {"heap-free-list", crashInHeapByFreeList},
    };
    return table;
}

} // namespace Brennic::Testing
