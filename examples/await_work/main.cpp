#include <iostream>
#include <numeric>
#include <vector>

#include <QCoreApplication>
#include <QCoroFuture>
#include <QCoroTask>
#include <QTimer>

#include <brn_mesh_kernel/tasks/DispatchFuture.h>

using namespace Brennic::Core;

std::vector<int> load()
{
    std::vector<int> numbers(100);
    std::iota(numbers.begin(), numbers.end(), 1);
    return numbers;
}

// Runs in the GUI thread, which serves events while the background tasks run.
QCoro::Task<> work()
{
    const std::vector<int> numbers = co_await dispatch([] { return load(); }, eQOS_Normal);
    std::cout << numbers.size() << " numbers\n";
    const int sum =
        co_await dispatch([&] { return std::accumulate(numbers.begin(), numbers.end(), 0); }, eQOS_Low);
    std::cout << "Sum " << sum << '\n';
    QCoreApplication::quit();
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QTimer::singleShot(0, [] { work(); });
    return QCoreApplication::exec();
}
