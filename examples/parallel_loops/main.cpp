#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

#include <QCoreApplication>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/ParallelLoops.h>

using namespace Brennic::Core;

static bool isPrime(int number)
{
    for (int divisor = 2; divisor * divisor <= number; ++divisor)
        if (number % divisor == 0)
            return false;
    return number > 1;
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    constexpr int limit = 200'000;
    std::vector<char> marks(limit);

    LoopOptions options;
    options.progress = std::make_shared<Progress>(limit, L"Searching");
    const auto mark = [&marks](int begin, int end) {
        for (int number = begin; number < end; ++number)
            marks[static_cast<std::size_t>(number)] = isPrime(number) ? 1 : 0;
    };
    if (parallelFor(0, limit, mark, options) == eLoop_Completed)
        std::cout << "Marked " << options.progress->getCompletedUnitCount() << " numbers\n";

    const auto count = [&marks](int begin, int end) {
        int primes = 0;
        for (int number = begin; number < end; ++number)
            primes += marks[static_cast<std::size_t>(number)];
        return primes;
    };
    const std::optional<int> primes = parallelReduce(0, limit, 0, count, std::plus<>());
    std::cout << "Found " << primes.value_or(0) << " primes\n"; // never empty: nobody can cancel this loop

    options.progress->cancel(); // as a button does, from any thread
    if (parallelFor(0, limit, mark, options) == eLoop_Cancelled)
        std::cout << "Cancelled\n";
}
