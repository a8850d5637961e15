#include "crash/support/TimeLimits.h"

#include <ctime>

namespace Brennic::Testing {

namespace {

double processorSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double slowdownByOthers()
{
    constexpr double computing = 0.2; // seconds of the processor's time
    const auto begin = std::chrono::steady_clock::now();
    const double beginOfWork = processorSeconds();
    double work = 0;
    while ((work = processorSeconds() - beginOfWork) < computing)
        continue;
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count() / work;
}

} // namespace

::testing::AssertionResult isBelow(std::chrono::milliseconds time, int limit)
{
    if (time.count() < limit)
        return ::testing::AssertionSuccess();
    const double slowdown = slowdownByOthers();
    if (static_cast<double>(time.count()) < limit * slowdown)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << time.count() << " ms, not below " << limit
                                         << " ms, on a machine that is slower " << slowdown << " times";
}

} // namespace Brennic::Testing
