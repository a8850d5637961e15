// What a host does with exceptions that its tasks throw, and with tasks and queues while application objects come
// and go. Takes the name of a scene; ends with 0 if everything came as expected.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "programs/Check.h"
#include "support/Latch.h"

using namespace Brennic::Core;
using Brennic::Testing::Latch;

namespace {

constexpr std::chrono::seconds hangLimit{20};
constexpr int applicationRounds = 50;

int argumentCount = 1;
char programName[] = "program";
char* arguments[] = {programName, nullptr};

std::unique_ptr<QCoreApplication> makeApplication()
{
    return std::make_unique<QCoreApplication>(argumentCount, arguments);
}

std::shared_ptr<Task> add(const std::shared_ptr<TaskQueue>& queue, const std::function<void()>& function)
{
    auto task = std::make_shared<Task>(function);
    queue->addTask(task);
    return task;
}

/// What a host's application object has caught.
struct Caught
{
    std::mutex mutex;
    std::multiset<std::string> texts;
    std::set<QThread*> threads;

    std::size_t count()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return texts.size();
    }
};

Caught caught;

class CatchingApplication : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        try {
            return QCoreApplication::notify(receiver, event);
        } catch (const std::exception& exception) {
            const std::lock_guard<std::mutex> lock(caught.mutex);
            caught.texts.insert(exception.what());
            caught.threads.insert(QThread::currentThread());
        }
        return false;
    }
};

/// Leaves the process with the application object as it is: a worker may be in its functions.
[[noreturn]] void leaveAtOnce()
{
    std::_Exit(0);
}

void makeCatchingApplication()
{
    new CatchingApplication(argumentCount, arguments); // NOLINT(cppcoreguidelines-owning-memory)
}

void expectCaught(std::size_t count)
{
    const auto end = std::chrono::steady_clock::now() + hangLimit;
    while (caught.count() < count) {
        CHECK(std::chrono::steady_clock::now() < end);
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        std::this_thread::yield();
    }
    CHECK(caught.count() == count);
}

/// Expects as many tasks as the queue has workers to be able to run at once.
void expectAllWorkers(const std::shared_ptr<TaskQueue>& queue)
{
    const int workers = queue->getMaxConcurrency();
    const auto all = std::make_shared<Latch>(workers);
    const auto done = std::make_shared<Latch>(workers);
    for (int i = 0; i < workers; ++i)
        add(queue, [all, done] {
            all->countDown();
            CHECK(all->wait(hangLimit));
            done->countDown();
        });
    CHECK(done->wait(hangLimit));
}

int exceptionReachesTheNotifyThatCatches()
{
    makeCatchingApplication();
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    QThread* worker = nullptr;
    add(queue, [&] { worker = QThread::currentThread(); })->waitTillFinished();
    for (std::size_t round = 1; round <= 20; ++round) {
        const std::shared_ptr<Task> task = add(queue, [] { throw std::runtime_error("callable"); });
        expectCaught(round);
        CHECK(task->getTaskState() == Task::eRunning);
        QThread* after = nullptr;
        add(queue, [&] { after = QThread::currentThread(); })->waitTillFinished();
        CHECK(after == worker);
    }
    CHECK(caught.texts.count("callable") == 20);
    CHECK(caught.threads == std::set<QThread*>{worker});
    leaveAtOnce();
}

int exceptionsOfManyWorkersReachTheNotifyThatCatches()
{
    makeCatchingApplication();
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 3);
    std::atomic<int> runs{0};
    for (int i = 0; i < 300; ++i) {
        add(queue, [&runs] {
            ++runs;
            throw std::runtime_error("callable");
        });
        add(queue, [&runs] { ++runs; });
    }
    expectCaught(300);
    expectAllWorkers(queue);
    CHECK(runs == 600);
    leaveAtOnce();
}

int exceptionInsideATaskThatServesEventsReachesTheNotifyThatCatches()
{
    makeCatchingApplication();
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    Latch returned;
    add(queue, [&] {
        add(queue, [] { throw std::runtime_error("inner"); });
        expectCaught(1);
        returned.countDown();
    });
    CHECK(returned.wait(hangLimit));
    expectAllWorkers(queue);
    leaveAtOnce();
}

int exceptionOfATaskWithoutACallableReachesTheNotifyThatCatches()
{
    makeCatchingApplication();
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    queue->addTask(std::make_shared<Task>());
    expectCaught(1);
    expectAllWorkers(queue);
    leaveAtOnce();
}

int exceptionOfAGuiTaskReachesTheNotifyThatCatches()
{
    makeCatchingApplication();
    std::atomic<int> runs{0};
    std::thread([&] {
        for (int i = 0; i < 20; ++i) {
            dispatchAsync(
                [&] {
                    ++runs;
                    throw std::runtime_error("callable");
                },
                eQOS_GUI);
            dispatchAsync([&] { ++runs; }, eQOS_GUI);
        }
    }).join();
    expectCaught(20);
    while (runs < 40)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    leaveAtOnce();
}

int exceptionOnAnOverflowQueueReachesTheNotifyThatCatches()
{
    makeCatchingApplication();
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    Latch returned;
    add(queue, [&] {
        add(queue, [] { throw std::runtime_error("callable"); });
        add(queue, [] {})->waitTillFinished(); // behind it, on the same overflow queue
        returned.countDown();
    });
    CHECK(returned.wait(hangLimit));
    expectCaught(1);
    expectAllWorkers(queue);
    leaveAtOnce();
}

/// A task of each worker serves events while the application object goes and the next one comes: all the time, or
/// only in between, when Qt drops what has been posted before.
void serveEventsBetweenApplications(int workers, bool onlyInBetween)
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, workers);
    for (int round = 0; round < applicationRounds; ++round) {
        auto application = makeApplication();
        const auto running = std::make_shared<Latch>(workers);
        const auto mayServe = std::make_shared<Latch>();
        const auto haveServed = std::make_shared<Latch>(workers);
        const auto isOver = std::make_shared<std::atomic<bool>>(false);
        for (int i = 0; i < workers; ++i)
            add(queue, [running, mayServe, haveServed, isOver] {
                running->countDown();
                CHECK(mayServe->wait(hangLimit));
                QCoreApplication::processEvents();
                haveServed->countDown();
                while (!*isOver)
                    QCoreApplication::processEvents();
            });
        CHECK(running->wait(hangLimit));
        const auto done = std::make_shared<Latch>(40);
        const auto addSome = [queue, done] {
            for (int i = 0; i < 20; ++i)
                add(queue, [done] { done->countDown(); });
        };
        if (!onlyInBetween)
            mayServe->countDown();
        std::thread adder(addSome);
        if (onlyInBetween)
            adder.join();
        application.reset();
        if (onlyInBetween)
            mayServe->countDown();
        else
            adder.join();
        CHECK(haveServed->wait(hangLimit));
        if (onlyInBetween)
            *isOver = true;
        application = makeApplication();
        *isOver = true;
        addSome();
        CHECK(done->wait(hangLimit));
    }
}

int tasksRunAfterOneThatServedEventsBetweenApplications()
{
    serveEventsBetweenApplications(1, false);
    return 0;
}

int tasksRunAfterAllWorkersServedEventsBetweenApplications()
{
    serveEventsBetweenApplications(3, false);
    return 0;
}

int tasksRunAfterOneWhoseServedEventsWereDropped()
{
    serveEventsBetweenApplications(1, true);
    return 0;
}

int tasksRunAfterAllWorkersServedEventsThatWereDropped()
{
    serveEventsBetweenApplications(3, true);
    return 0;
}

/// Makes and ends application objects while another thread does \p work again and again.
void comeAndGoWhile(const std::function<void()>& work)
{
    std::atomic<bool> isOver{false};
    std::atomic<int> calls{0};
    std::thread worker([&] {
        while (!isOver) {
            work();
            ++calls;
        }
    });
    for (int round = 0; round < applicationRounds; ++round) {
        const auto application = makeApplication();
        const int before = calls;
        const auto end = std::chrono::steady_clock::now() + hangLimit;
        while (calls < before + 2) {
            CHECK(std::chrono::steady_clock::now() < end);
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        }
    }
    isOver = true;
    worker.join();
}

int queuesAreMadeWhileApplicationsComeAndGo()
{
    std::atomic<int> added{0};
    std::atomic<int> runs{0};
    comeAndGoWhile([&] {
        constexpr int mostPending = 30; // without an application object nothing runs, and no thread ends
        if (added - runs > mostPending)
            return std::this_thread::yield();
        const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 3);
        for (int i = 0; i < 5; ++i) {
            ++added;
            add(queue, [&] { ++runs; });
        }
    });
    const auto application = makeApplication();
    const auto end = std::chrono::steady_clock::now() + hangLimit;
    while (runs != added) {
        CHECK(std::chrono::steady_clock::now() < end);
        std::this_thread::yield();
    }
    return 0;
}

int tasksAreBusyWhileApplicationsComeAndGo()
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 3);
    const auto done = std::make_shared<std::atomic<int>>(0);
    int added = 0;
    comeAndGoWhile([&] {
        if (added > done->load() + 1000)
            return std::this_thread::yield();
        ++added;
        add(queue, [done] {
            volatile unsigned sum = 0;
            for (unsigned i = 0; i < 2000; ++i)
                sum = sum + i;
            ++*done;
        });
    });
    const auto application = makeApplication();
    const auto end = std::chrono::steady_clock::now() + hangLimit;
    while (*done != added) {
        CHECK(std::chrono::steady_clock::now() < end);
        std::this_thread::yield();
    }
    return 0;
}

int tasksWaitForTasksWhileApplicationsComeAndGo()
{
    const std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 2);
    comeAndGoWhile([&] {
        add(queue, [&] {
            const std::shared_ptr<Task> first = add(queue, [] {});
            add(queue, [] {})->waitTillFinished();
            first->waitTillFinished();
        })->waitTillFinished();
    });
    return 0;
}

const std::map<std::string, int (*)()> scenes{
    {"exceptionReachesTheNotifyThatCatches", &exceptionReachesTheNotifyThatCatches},
    {"exceptionsOfManyWorkersReachTheNotifyThatCatches", &exceptionsOfManyWorkersReachTheNotifyThatCatches},
    {"exceptionInsideATaskThatServesEventsReachesTheNotifyThatCatches",
     &exceptionInsideATaskThatServesEventsReachesTheNotifyThatCatches},
    {"exceptionOfATaskWithoutACallableReachesTheNotifyThatCatches",
     &exceptionOfATaskWithoutACallableReachesTheNotifyThatCatches},
    {"exceptionOfAGuiTaskReachesTheNotifyThatCatches", &exceptionOfAGuiTaskReachesTheNotifyThatCatches},
    {"exceptionOnAnOverflowQueueReachesTheNotifyThatCatches",
     &exceptionOnAnOverflowQueueReachesTheNotifyThatCatches},
    {"tasksRunAfterOneThatServedEventsBetweenApplications",
     &tasksRunAfterOneThatServedEventsBetweenApplications},
    {"tasksRunAfterAllWorkersServedEventsBetweenApplications",
     &tasksRunAfterAllWorkersServedEventsBetweenApplications},
    {"tasksRunAfterOneWhoseServedEventsWereDropped", &tasksRunAfterOneWhoseServedEventsWereDropped},
    {"tasksRunAfterAllWorkersServedEventsThatWereDropped",
     &tasksRunAfterAllWorkersServedEventsThatWereDropped},
    {"queuesAreMadeWhileApplicationsComeAndGo", &queuesAreMadeWhileApplicationsComeAndGo},
    {"tasksAreBusyWhileApplicationsComeAndGo", &tasksAreBusyWhileApplicationsComeAndGo},
    {"tasksWaitForTasksWhileApplicationsComeAndGo", &tasksWaitForTasksWhileApplicationsComeAndGo},
};

} // namespace

int main(int count, char** values)
{
    CHECK(count == 2);
    const auto scene = scenes.find(values[1]);
    CHECK(scene != scenes.end());
    return scene->second();
}
