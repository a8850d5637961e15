#include "crash/child/Places.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

#include <QCoreApplication>
#include <brn_mesh_kernel/diagnostics/CrashStack.h>
#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>

#include "crash/child/PlatformPlaces.h"

namespace Brennic::Testing {

namespace {

void onThread(const Function& function)
{
    std::thread(function).join();
}

void onWorker(const Function& function)
{
    int count = 1;
    char name[] = "crash_child";
    char* arguments[] = {name, nullptr};
    const QCoreApplication application(count, arguments);
    Core::dispatchSync(function, Core::eQOS_Normal);
}

/// Catches what is not thrown.
class CatchingApplication : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        try {
            return QCoreApplication::notify(receiver, event);
        } catch (const std::logic_error&) {
            return false;
        }
    }
};

void onWorkerOfACatchingHost(const Function& function)
{
    int count = 1;
    char name[] = "crash_child";
    char* arguments[] = {name, nullptr};
    const CatchingApplication application(count, arguments);
    Core::dispatchSync(function, Core::eQOS_Normal);
}

void onGuardedThread(const Function& function)
{
    std::thread([&function] {
        const Core::CrashStack crashStack;
        function();
    }).join();
}

// All start together.
void onThreads(int count, const Function& function)
{
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int i = 0; i != count; ++i) {
        threads.emplace_back([count, &ready, &function] {
            const Core::CrashStack crashStack;
            ++ready;
            while (ready != count)
                std::this_thread::yield();
            function();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

// The second a while later, when the first one's crash is being handled.
void onTwoThreadsInTurn(const Function& function)
{
    constexpr std::chrono::milliseconds aWhile{300};
    std::promise<void> isFirstCrashing;
    std::promise<void> never;
    std::thread first([&] {
        const Core::CrashStack crashStack;
        isFirstCrashing.set_value();
        function();
    });
    std::thread second([&] {
        const Core::CrashStack crashStack;
        isFirstCrashing.get_future().wait();
        never.get_future().wait_for(aWhile);
        function();
    });
    first.join();
    second.join();
}

void afterTerminate(const Function& function)
{
    Core::Kernel::Instance().Terminate();
    function();
}

Function& functionAtExit()
{
    static auto* const function = new Function;
    return *function;
}

void duringExit(const Function& function)
{
    functionAtExit() = function;
    std::atexit([] { functionAtExit()(); });
    std::exit(0);
}

const Places& places()
{
    static const Places table{
        {"main", [](const Function& function) { function(); }},
        {"thread", onThread},
        {"worker", onWorker},
        {"worker-of-catching-host", onWorkerOfACatchingHost},
        {"guarded-thread", onGuardedThread},
        {"eight-threads", [](const Function& function) { onThreads(8, function); }},
        {"two-threads-in-turn", onTwoThreadsInTurn},
        {"after-terminate", afterTerminate},
        {"exit", duringExit},
    };
    return table;
}

} // namespace

bool runIn(const std::string& name, const std::function<void()>& function)
{
    for (const Places* table : {&places(), &platformPlaces()}) {
        const auto found = table->find(name);
        if (found != table->end()) {
            found->second(function);
            return true;
        }
    }
    return false;
}

} // namespace Brennic::Testing
