#pragma once
/// \file
/// A fault for the fuzzers to find, to see that they find any. It is there only in programs built with BRN_PLANT_FAULT.

#include <cstdio>
#include <cstdlib>

namespace Brennic::Fuzz {

#if defined(BRN_PLANT_FAULT)
constexpr bool isFaultPlanted = true;
#else
constexpr bool isFaultPlanted = false;
#endif

/// Where a fault is planted, ends the program if the condition holds. It is asked of what the code under test has made of the
/// input, so that only inputs that it accepts lead there.
inline void plantFault(bool condition)
{
    if (!isFaultPlanted || !condition)
        return;
    std::fputs("planted fault\n", stderr);
    std::abort();
}

/// Ends the program if what the code under test promises does not hold.
inline void require(bool promise, const char* what)
{
    if (promise)
        return;
    std::fprintf(stderr, "not kept: %s\n", what);
    std::abort();
}

} // namespace Brennic::Fuzz
