#include "Crash.h"

#include <cstddef>
#include <cstdlib>
#include <map>
#include <stdexcept>

#include "Platform.h"

// Not in the unnamed one, where the compiler would see that only one function can be called.
namespace CrashShapes {

struct Shape
{
    Shape() { measure(); }
    virtual ~Shape() = default;
    Shape(const Shape&) = delete;
    Shape& operator=(const Shape&) = delete;
    virtual void area() = 0;
    void measure()
    {
        Shape* volatile unknown = this;
        unknown->area();
    }
};

struct Circle : Shape
{
    void area() override {}
};

} // namespace CrashShapes

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
    constexpr std::ptrdiff_t size = 4000;
    volatile char* const block = static_cast<char*>(std::malloc(size));
    for (std::ptrdiff_t i = -16; i < size + 64; ++i) // over both ends
        block[i] = 0x5A;
    std::free(const_cast<char*>(block)); // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

void callPureVirtual()
{
    const CrashShapes::Circle circle; // is no circle yet when its base class measures it
}

const std::map<std::string, void (*)()>& kinds()
{
    static const std::map<std::string, void (*)()> table = {
        {"segv", writeToNowhere},  {"abort", [] { std::abort(); }}, {"throw", throwWithoutCatch},
        {"fpe", divideByZero},     {"stack", overflowStack},        {"heap", corruptHeap},
        {"pure", callPureVirtual}, {"ill", raiseIllegalInstruction}};
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
