#include "crash/child/Crashes.h"

#include <cstdlib>
#include <stdexcept>

#include "crash/child/PlatformCrashes.h"

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

BRN_NOT_INLINED void crashByAbort()
{
    std::abort();
}

BRN_NOT_INLINED void crashByException()
{
    throw std::runtime_error("nobody catches this");
}

// What is to be destroyed on the way is what may take the stack with it.
BRN_NOT_INLINED void throwPastLocals()
{
    struct Local
    {
        ~Local() { g_sink = 1; }
    };
    const Local local;
    crashByException();
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

const Crashes& crashes()
{
    static const Crashes table{
        {"null-write", crashByNullWrite},
        {"jump-to-null", crashByJumpToNull},
        {"abort", crashByAbort},
        {"throw", crashByException},
        {"throw-past-locals", throwPastLocals},
        {"pure-virtual", crashByPureVirtualCall},
        {"division", crashByDivision},
        {"illegal-instruction", crashByIllegalInstruction},
        {"stack-overflow", [] { Depths::crashByRecursion(0); }},
    };
    return table;
}

} // namespace

bool crash(const std::string& kind)
{
    for (const Crashes* table : {&crashes(), &platformCrashes()}) {
        const auto found = table->find(kind);
        if (found != table->end()) {
            found->second();
            return true;
        }
    }
    return false;
}

} // namespace Brennic::Testing
