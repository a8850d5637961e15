// What a host does with tasks around its application objects and at its end. Takes the name of a scene; ends
// with 0 if everything came as expected.
#include <atomic>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include <QCoreApplication>
#include <QThread>
#include <QThreadPool>
#include <QTimer>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/DispatchFuture.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "programs/Check.h"
#include "support/DetachedThread.h"
#include "support/Latch.h"
#include "support/ProcessThreads.h"

using namespace Brennic::Core;
using Brennic::Testing::Latch;
using Brennic::Testing::runDetached;

namespace {

constexpr EQualityOfService workerClasses[] = {eQOS_High, eQOS_Normal, eQOS_Low, eQOS_Background};
constexpr int anyNumber = 200;

int argumentCount = 1;
char programName[] = "program";
char* arguments[] = {programName, nullptr};

std::unique_ptr<QCoreApplication> makeApplication()
{
    return std::make_unique<QCoreApplication>(argumentCount, arguments);
}

/// Numbers in the order in which tasks wrote them down, on a queue with one worker.
struct Order
{
    std::vector<int> numbers;
    Latch done;

    void dispatch(TaskQueue& queue, int first, int count, bool isLast)
    {
        for (int i = first; i < first + count; ++i)
            queue.addTask(std::make_shared<Task>([this, i] { numbers.push_back(i); }));
        if (isLast)
            queue.addTask(std::make_shared<Task>([this] { done.countDown(); }));
    }

    void check(int count)
    {
        CHECK(done.wait());
        std::vector<int> expected(static_cast<std::size_t>(count));
        std::iota(expected.begin(), expected.end(), 0);
        CHECK(numbers == expected);
    }
};

/// Leaves tasks that run until the process ends on every queue.
void makeWorkersBusy()
{
    for (const EQualityOfService qos : workerClasses) {
        const int workers = TaskQueue::getGlobalQueue(qos)->getMaxConcurrency();
        auto* const started = new Latch(workers); // the tasks never end
        for (int i = 0; i < workers; ++i)
            dispatchAsync(
                [started] {
                    started->countDown();
                    for (volatile unsigned step = 0;; step = step + 1)
                        QThread::usleep(10);
                },
                qos);
        CHECK(started->wait());
    }
}

/// Leaves tasks that will never have a free worker.
void leavePendingTasks()
{
    for (const EQualityOfService qos : workerClasses)
        for (int i = 0; i < anyNumber; ++i)
            dispatchAsync([] { CHECK(false); }, qos);
}

void neverGetsHere()
{
    QThread::sleep(120);
    CHECK(false);
}

int loadOnly()
{
    return 0;
}

int leaveMainIdle()
{
    const auto application = makeApplication();
    for (const EQualityOfService qos : workerClasses)
        CHECK(dispatchSync([] {}, qos));
    return 0;
}

int leaveMainWithoutApplication()
{
    for (const EQualityOfService qos : workerClasses)
        CHECK(dispatchAsync([] { CHECK(false); }, qos));
    return 0;
}

int leaveMainBusy()
{
    const auto application = makeApplication();
    makeWorkersBusy();
    leavePendingTasks();
    return 0;
}

int leaveMainWhileTasksFinish()
{
    const auto application = makeApplication();
    for (const EQualityOfService qos : workerClasses)
        for (int i = 0; i < anyNumber; ++i)
            dispatchAsync([] { QThread::usleep(50); }, qos);
    return 0;
}

int leaveMainWhileTasksWaitForTasks()
{
    const auto application = makeApplication();
    for (const EQualityOfService qos : workerClasses)
        for (int i = 0; i < anyNumber; ++i)
            dispatchAsync([qos] { dispatchSync([] { QThread::usleep(20); }, qos); }, qos);
    return 0;
}

int leaveMainWhileQueuesEnd()
{
    const auto application = makeApplication();
    for (int i = 0; i < anyNumber; ++i)
        TaskQueue::createQueue(eQOS_Normal, 3)->addTask(std::make_shared<Task>([] {}));
    return 0;
}

int leaveMainWithQueuesInStaticStorage()
{
    const auto application = makeApplication();
    static const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 2);
    static const auto task = std::make_shared<Task>([] {});
    queue->addTask(task);
    task->waitTillFinished();
    return 0;
}

/// Made before the application object, and so destroyed when tasks are refused.
struct LateHost
{
    LateHost() = default;
    ~LateHost()
    {
        if (!isUsed)
            return;
        for (const EQualityOfService qos : workerClasses)
            CHECK(!dispatchAsync([] { CHECK(false); }, qos));
    }
    LateHost(const LateHost&) = delete;
    LateHost& operator=(const LateHost&) = delete;

    bool isUsed = false;
};

LateHost lateHost;

int leaveMainThenDispatch()
{
    lateHost.isUsed = true;
    const auto application = makeApplication();
    makeWorkersBusy();
    return 0;
}

int endAtOnce()
{
    const auto application = makeApplication();
    makeWorkersBusy();
    leavePendingTasks();
    std::_Exit(0);
}

int exitFromMain()
{
    const auto application = makeApplication();
    makeWorkersBusy();
    leavePendingTasks();
    std::exit(0);
}

int exitFromTheEventLoop()
{
    const auto application = makeApplication();
    makeWorkersBusy();
    leavePendingTasks();
    QTimer::singleShot(0, application.get(), [] { std::exit(0); });
    return QCoreApplication::exec() + 1;
}

int exitFromWorker()
{
    const auto application = makeApplication();
    makeWorkersBusy();
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 2);
    queue->addTask(std::make_shared<Task>([] { std::exit(0); }));
    QCoreApplication::exec();
    return 1;
}

int exitFromWorkerOfGlobalQueue()
{
    const auto application = makeApplication();
    dispatchAsync([] { std::exit(0); }, eQOS_Background);
    neverGetsHere();
    return 1;
}

int exitFromThread()
{
    const auto application = makeApplication();
    makeWorkersBusy();
    leavePendingTasks();
    runDetached([] { std::exit(0); });
    QCoreApplication::exec();
    return 1;
}

int exitFromGuiTask()
{
    const auto application = makeApplication();
    std::thread([] { dispatchAsync([] { std::exit(0); }, eQOS_GUI); }).join();
    QCoreApplication::exec();
    return 1;
}

int exitWhileThreadsDispatch()
{
    const auto application = makeApplication();
    auto* const started = new Latch(3);
    for (int i = 0; i < 3; ++i)
        runDetached([started] {
            started->countDown();
            for (int count = 0;; ++count) {
                dispatchAsync([] {}, eQOS_Normal);
                dispatchAsync([] {}, eQOS_GUI);
                if (count % 8 == 0)
                    dispatchSync([] {}, eQOS_High);
            }
        });
    CHECK(started->wait());
    QThread::msleep(20);
    std::exit(0);
}

/// Made before the application object, and so destroyed when the futures must have ended.
struct LateWaiters
{
    LateWaiters() = default;
    ~LateWaiters()
    {
        if (count > 0)
            CHECK(woken->wait());
    }
    LateWaiters(const LateWaiters&) = delete;
    LateWaiters& operator=(const LateWaiters&) = delete;

    int count = 0;
    Latch* woken = nullptr; // the threads may use it to the end
};

LateWaiters lateWaiters;

// Qt's own wait asks a thread pool whether it can run the call. The global one goes while the process ends.
int exitWhileThreadsWaitForFutures()
{
    static auto* const pool = new QThreadPool;
    makeApplication().release(); // its end is no reason to wake
    makeWorkersBusy();
    lateWaiters.count = 3;
    lateWaiters.woken = new Latch(3);
    auto* const waiting = new Latch(3);
    const auto wait = [waiting](EQualityOfService qos, bool isPlain) {
        runDetached([waiting, qos, isPlain] {
            QFuture<int> future = dispatch([] { return 1; }, qos);
            if (isPlain)
                Brennic::Core::FutureDetails::interfaceOf(future).setThreadPool(pool);
            waiting->countDown();
            if (isPlain)
                future.waitForFinished();
            else
                Brennic::Core::waitFor(future);
            CHECK(future.isCanceled());
            lateWaiters.woken->countDown();
        });
    };
    wait(eQOS_Normal, true);
    wait(eQOS_GUI, true);
    wait(eQOS_Low, false);
    CHECK(waiting->wait());
    std::exit(0);
}

int beforeApplication()
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    Order own;
    Order high;
    own.dispatch(*queue, 0, anyNumber, false);
    for (int i = 0; i < anyNumber; ++i)
        TaskQueue::getGlobalQueue(eQOS_High)->addTask(std::make_shared<Task>([] {}));
    std::vector<int> gui;
    std::thread([&] {
        for (int i = 0; i < anyNumber; ++i)
            dispatchAsync([&gui, i] { gui.push_back(i); }, eQOS_GUI);
    }).join();
    CHECK(own.numbers.empty());

    const auto application = makeApplication();
    own.dispatch(*queue, anyNumber, anyNumber, true);
    own.check(2 * anyNumber);
    CHECK(gui.empty());
    while (gui.size() < anyNumber)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    CHECK(std::is_sorted(gui.begin(), gui.end()));
    return 0;
}

int beforeApplicationWithoutEventLoop()
{
    Latch done(4 * anyNumber);
    for (const EQualityOfService qos : workerClasses)
        for (int i = 0; i < anyNumber; ++i)
            CHECK(dispatchAsync([&] { done.countDown(); }, qos));
    const auto application = makeApplication();
    CHECK(done.wait());
    return 0;
}

int beforeApplicationAThreadWaits()
{
    Latch dispatching;
    std::atomic<bool> hasReturned{false};
    QThread* thread = nullptr;
    std::thread waiter([&] {
        dispatching.countDown();
        CHECK(dispatchSync([&] { thread = QThread::currentThread(); }, eQOS_Normal));
        CHECK(thread != QThread::currentThread());
        hasReturned = true;
    });
    CHECK(dispatching.wait());
    QThread::msleep(50);
    CHECK(!hasReturned);
    const auto application = makeApplication();
    waiter.join();
    CHECK(hasReturned);
    return 0;
}

int beforeApplicationMainWaits()
{
    // Nobody else could ever make the application object.
    QThread* thread = nullptr;
    CHECK(dispatchSync([&] { thread = QThread::currentThread(); }, eQOS_Normal));
    CHECK(thread == QThread::currentThread());
    CHECK(dispatchSync([&] { thread = nullptr; }, eQOS_GUI));
    CHECK(thread == nullptr);
    const auto application = makeApplication();
    CHECK(dispatchSync([&] { thread = QThread::currentThread(); }, eQOS_Normal));
    CHECK(thread != QThread::currentThread());
    return 0;
}

int beforeApplicationQueuesEnd()
{
    const std::size_t threads = Brennic::Testing::threadCount();
    for (int i = 0; i < anyNumber; ++i)
        TaskQueue::createQueue(eQOS_Normal, 2);
    for (int i = 0; i < 1000 && Brennic::Testing::threadCount() != threads; ++i)
        QThread::msleep(10);
    CHECK(Brennic::Testing::threadCount() == threads);
    return 0;
}

int betweenApplications()
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    for (int round = 0; round < 20; ++round) {
        Order order;
        std::vector<int> gui;
        auto application = makeApplication();
        order.dispatch(*queue, 0, anyNumber, false);
        std::thread([&] { dispatchAsync([&gui] { gui.push_back(0); }, eQOS_GUI); }).join();
        application.reset();
        order.dispatch(*queue, anyNumber, anyNumber, false);
        std::thread([&] { dispatchAsync([&gui] { gui.push_back(1); }, eQOS_GUI); }).join();
        application = makeApplication();
        order.dispatch(*queue, 2 * anyNumber, anyNumber, true);
        order.check(3 * anyNumber);
        while (gui.size() < 2)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        CHECK(gui[0] == 0 && gui[1] == 1);
    }
    return 0;
}

int afterApplication()
{
    makeApplication().reset();
    std::atomic<int> runs{0};
    for (const EQualityOfService qos : workerClasses) {
        CHECK(dispatchAsync([&] { ++runs; }, qos));
        bool hasRun = false;
        CHECK(dispatchSync([&] { hasRun = true; }, qos));
        CHECK(hasRun);
        std::thread([&] { CHECK(dispatchSync([] {}, qos)); }).join();
    }
    CHECK(dispatchSync([] {}, eQOS_GUI));
    std::thread([] {
        CHECK(dispatchAsync([] { CHECK(false); }, eQOS_GUI));
        CHECK(!dispatchSync([] { CHECK(false); }, eQOS_GUI));
        Progress progress(10);
        CHECK(++progress == 1);
    }).join();
    CHECK(runs == 0);
    return 0;
}

int afterApplicationAThreadStillDispatches()
{
    for (int round = 0; round < 20; ++round) {
        auto application = makeApplication();
        std::atomic<bool> isOver{false};
        std::atomic<int> runs{0};
        Latch started;
        std::thread dispatcher([&] {
            started.countDown();
            while (!isOver)
                CHECK(dispatchSync([&] { ++runs; }, eQOS_Normal));
        });
        CHECK(started.wait());
        application.reset(); // perhaps while the thread waits
        const int runsBefore = runs;
        while (runs < runsBefore + 10)
            QThread::yieldCurrentThread();
        isOver = true;
        dispatcher.join();
    }
    return 0;
}

int afterApplicationAThreadIsLetGoByTheGuiQueue()
{
    for (int round = 0; round < 20; ++round) {
        auto application = makeApplication();
        std::atomic<int> runs{0};
        std::thread dispatcher([&] {
            while (dispatchSync([&] { ++runs; }, eQOS_GUI))
                continue;
        });
        while (runs < 10)
            QCoreApplication::processEvents();
        application.reset(); // while the thread waits, or a moment before it does
        const int runsBefore = runs;
        dispatcher.join();
        CHECK(runs == runsBefore);
    }
    return 0;
}

int afterApplicationWorkersAreBusy()
{
    auto application = makeApplication();
    makeWorkersBusy();
    application.reset();
    CHECK(dispatchSync([] {}, eQOS_Normal));
    application = makeApplication();
    return 0;
}

const std::map<std::string, int (*)()> scenes{
    {"loadOnly", &loadOnly},
    {"leaveMainIdle", &leaveMainIdle},
    {"leaveMainWithoutApplication", &leaveMainWithoutApplication},
    {"leaveMainBusy", &leaveMainBusy},
    {"leaveMainWhileTasksFinish", &leaveMainWhileTasksFinish},
    {"leaveMainWhileTasksWaitForTasks", &leaveMainWhileTasksWaitForTasks},
    {"leaveMainWhileQueuesEnd", &leaveMainWhileQueuesEnd},
    {"leaveMainWithQueuesInStaticStorage", &leaveMainWithQueuesInStaticStorage},
    {"leaveMainThenDispatch", &leaveMainThenDispatch},
    {"endAtOnce", &endAtOnce},
    {"exitFromMain", &exitFromMain},
    {"exitFromTheEventLoop", &exitFromTheEventLoop},
    {"exitFromWorker", &exitFromWorker},
    {"exitFromWorkerOfGlobalQueue", &exitFromWorkerOfGlobalQueue},
    {"exitFromThread", &exitFromThread},
    {"exitFromGuiTask", &exitFromGuiTask},
    {"exitWhileThreadsDispatch", &exitWhileThreadsDispatch},
    {"exitWhileThreadsWaitForFutures", &exitWhileThreadsWaitForFutures},
    {"beforeApplication", &beforeApplication},
    {"beforeApplicationWithoutEventLoop", &beforeApplicationWithoutEventLoop},
    {"beforeApplicationAThreadWaits", &beforeApplicationAThreadWaits},
    {"beforeApplicationMainWaits", &beforeApplicationMainWaits},
    {"beforeApplicationQueuesEnd", &beforeApplicationQueuesEnd},
    {"betweenApplications", &betweenApplications},
    {"afterApplication", &afterApplication},
    {"afterApplicationAThreadStillDispatches", &afterApplicationAThreadStillDispatches},
    {"afterApplicationAThreadIsLetGoByTheGuiQueue", &afterApplicationAThreadIsLetGoByTheGuiQueue},
    {"afterApplicationWorkersAreBusy", &afterApplicationWorkersAreBusy},
};

} // namespace

int main(int count, char** values)
{
    CHECK(count == 2);
    const auto scene = scenes.find(values[1]);
    CHECK(scene != scenes.end());
    return scene->second();
}
