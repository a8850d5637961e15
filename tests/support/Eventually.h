#pragma once
/// \file
/// Waiting, with a bound, for what happens in its own time.

#include <chrono>
#include <thread>

namespace Brennic::Testing {

/// Calls \p condition until it holds, for ten seconds at most; returns whether it held.
template <typename Condition>
bool eventually(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

} // namespace Brennic::Testing
