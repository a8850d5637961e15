#include <array>
#include <exception>
#include <iostream>
#include <numeric>
#include <stdexcept>

#include <QCoreApplication>

#include <brn_mesh_kernel/tasks/TaskGroup.h>

using namespace Brennic::Core;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    std::array<long, 4> sums{};
    TaskGroup group(eQOS_Normal);
    for (std::size_t part = 0; part < sums.size(); ++part)
        group.dispatch([&sums, part] {
            for (long i = 0; i < 1000; ++i)
                sums[part] += 1000 * static_cast<long>(part) + i;
        });
    group.wait();
    std::cout << "Sum " << std::accumulate(sums.begin(), sums.end(), 0L) << '\n';

    group.dispatch([] { throw std::runtime_error("A part has failed"); });
    try {
        group.wait();
    } catch (const std::exception& error) {
        std::cout << error.what() << '\n';
    }
}
