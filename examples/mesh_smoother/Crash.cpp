#include "Crash.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>

namespace {

// What the compiler must not know, or it would leave out what it can prove to be a mistake.
volatile int g_zero = 0;
int* volatile g_nowhere = nullptr;

void writeToNowhere()
{
    *g_nowhere = 1;
}

void throwOnPurpose()
{
    throw std::runtime_error("thrown on purpose");
}

// Nobody can catch what leaves a function that says it throws nothing.
void throwWithoutCatch() noexcept
{
    throwOnPurpose();
}

void divideByZero()
{
    g_zero = 100 / g_zero; // for 1 there is a way without dividing
}

int recurseForEver(int depth)
{
    volatile char frame[512] = {}; // NOLINT(*-avoid-c-arrays): a frame to fill the stack with
    frame[0] = static_cast<char>(depth);
    return g_zero == 0 ? recurseForEver(depth + 1) + frame[0] : 0;
}

void overflowStack()
{
    g_zero = recurseForEver(0);
}

void corruptHeap()
{
    constexpr std::size_t size = 4000;
    void* volatile block = std::malloc(size);
    std::memset(static_cast<char*>(block) - 16, 0x5A, 2 * size); // over both ends
    std::free(block);
    void* volatile next = std::malloc(2 * size);
    std::free(next);
}

void callPureVirtual()
{
    struct Base
    {
        Base() { callNothing(); }
        virtual ~Base() = default;
        virtual void nothing() = 0;
        void callNothing() { nothing(); }
    };
    struct Derived : Base
    {
        void nothing() override {}
    };
    const Derived object;
}

const std::map<std::string, void (*)()>& kinds()
{
    static const std::map<std::string, void (*)()> table = {
        {"segv", writeToNowhere},  {"abort", [] { std::abort(); }},    {"throw", throwWithoutCatch},
        {"fpe", divideByZero},     {"stack", overflowStack},           {"heap", corruptHeap},
        {"pure", callPureVirtual}, {"ill", [] { std::raise(SIGILL); }}};
    return table;
}

} // namespace

std::vector<std::string> crashKinds()
{
    std::vector<std::string> names;
    for (const auto& [name, crash] : kinds())
        names.push_back(name);
    return names;
}

void crashOnPurpose(const std::string& kind)
{
    const auto found = kinds().find(kind);
    if (found != kinds().end())
        found->second();
}
