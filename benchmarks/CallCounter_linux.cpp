#include "CallCounter.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>

#include <dlfcn.h>
#include <malloc.h>
#include <pthread.h>

// glibc's heap functions, by their other names: ours replace the usual ones.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

#define BRN_REPLACES_LIBC __attribute__((visibility("default")))

namespace {

std::atomic<std::uint64_t> allocations{0};
std::atomic<std::uint64_t> locks{0};

void count(std::atomic<std::uint64_t>& counter)
{
    counter.fetch_add(1, std::memory_order_relaxed);
}

using LockFunction = int (*)(pthread_mutex_t*);

// The cache is handed in: a static local variable would take a lock when it is made, and so call this again.
LockFunction libcFunction(std::atomic<LockFunction>& found, const char* name)
{
    LockFunction function = found.load(std::memory_order_relaxed);
    if (function == nullptr) {
        function = reinterpret_cast<LockFunction>(dlsym(RTLD_NEXT, name));
        found.store(function, std::memory_order_relaxed);
    }
    return function;
}

std::atomic<LockFunction> libcLock{nullptr};
std::atomic<LockFunction> libcTryLock{nullptr};

} // namespace

extern "C" {

BRN_REPLACES_LIBC void* malloc(std::size_t size) noexcept
{
    count(allocations);
    return __libc_malloc(size);
}

BRN_REPLACES_LIBC void* calloc(std::size_t number, std::size_t size) noexcept
{
    count(allocations);
    return __libc_calloc(number, size);
}

BRN_REPLACES_LIBC void* realloc(void* block, std::size_t size) noexcept
{
    count(allocations);
    return __libc_realloc(block, size);
}

BRN_REPLACES_LIBC void* memalign(std::size_t alignment, std::size_t size) noexcept
{
    count(allocations);
    return __libc_memalign(alignment, size);
}

BRN_REPLACES_LIBC void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return memalign(alignment, size);
}

BRN_REPLACES_LIBC int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept
{
    *block = memalign(alignment, size);
    return *block == nullptr ? ENOMEM : 0;
}

BRN_REPLACES_LIBC int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    count(locks);
    return libcFunction(libcLock, "pthread_mutex_lock")(mutex);
}

// A try that fails is not counted: nothing was locked.
BRN_REPLACES_LIBC int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept
{
    const int result = libcFunction(libcTryLock, "pthread_mutex_trylock")(mutex);
    if (result == 0)
        count(locks);
    return result;
}

} // extern "C"

CallCounts callCounts()
{
    return {allocations.load(), locks.load()};
}

std::size_t heapBytes()
{
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}
