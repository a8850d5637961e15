// What a host sees of queues when the system refuses threads, and how many threads its tasks take. Takes the name
// of a scene; ends with 0 if everything came as expected.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <QCoreApplication>
#include <QThread>

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "programs/Check.h"
#include "support/Eventually.h"
#include "support/Latch.h"

namespace {

// Made before any constructor runs: libraries start threads while they are loaded.
std::atomic<int> threadsAllowed{-1}; // so many may be made still; any number if it is negative
std::atomic<int> liveThreads{0};
std::atomic<int> mostThreads{0};
std::atomic<int> threadLimit{0}; // none if it is 0

struct Start
{
    void* (*routine)(void*);
    void* argument;
};

void* runCounted(void* start)
{
    const std::unique_ptr<Start> own(static_cast<Start*>(start));
    void* const result = own->routine(own->argument);
    --liveThreads;
    return result;
}

bool mayMakeThread()
{
    int allowed = threadsAllowed;
    while (allowed > 0 && !threadsAllowed.compare_exchange_weak(allowed, allowed - 1))
        continue;
    return allowed != 0;
}

void countThread()
{
    const int live = ++liveThreads;
    int most = mostThreads;
    while (most < live && !mostThreads.compare_exchange_weak(most, live))
        continue;
    CHECK(threadLimit == 0 || live <= threadLimit);
}

} // namespace

/// Found before the system's, which it calls unless threads are refused.
extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                                     const pthread_attr_t* attributes,
                                                                     void* (*routine)(void*),
                                                                     void* argument) noexcept
{
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    if (!mayMakeThread())
        return EAGAIN;
    countThread();
    return next(thread, attributes, &runCounted, new Start{routine, argument});
}

using namespace Brennic::Core;
using Brennic::Testing::Latch;

namespace {

constexpr std::chrono::seconds hangLimit{20};
constexpr int mostOverflowThreads = 64;
constexpr int threadsThatEnd = 32; // which have done their work, but not yet left the process

int argumentCount = 1;
char programName[] = "program";
char* arguments[] = {programName, nullptr};

std::shared_ptr<Task> add(const std::shared_ptr<TaskQueue>& queue, const std::function<void()>& function)
{
    auto task = std::make_shared<Task>(function);
    queue->addTask(task);
    return task;
}

void refuseThreadsAfter(int count)
{
    threadsAllowed = count;
}

void allowThreads()
{
    threadsAllowed = -1;
}

template <typename Condition>
void expectSoon(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + hangLimit;
    while (!condition()) {
        CHECK(std::chrono::steady_clock::now() < end);
        std::this_thread::yield();
    }
}

/// A thread of the host that waits for a task. The constructor returns when it sleeps in that, or has ended.
class WaitingThread
{
public:
    explicit WaitingThread(const std::shared_ptr<Task>& task)
        : m_thread([this, task] {
              m_id = gettid();
              task->waitTillFinished();
          })
    {
        expectSoon([this] { return m_id != 0; });
        expectSoon([this] { return isAsleepOrGone(); });
    }
    ~WaitingThread() { m_thread.join(); }
    WaitingThread(const WaitingThread&) = delete;
    WaitingThread& operator=(const WaitingThread&) = delete;

private:
    bool isAsleepOrGone() const
    {
        std::ifstream status("/proc/self/task/" + std::to_string(m_id) + "/stat");
        std::string id;
        std::string name;
        std::string state;
        return !(status >> id >> name >> state) || state == "S";
    }

    std::atomic<pid_t> m_id{0};
    std::thread m_thread; // last: it uses the other
};

int noThreadMakesNoQueue()
{
    const QCoreApplication application(argumentCount, arguments);
    refuseThreadsAfter(0);
    CHECK(TaskQueue::createQueue(eQOS_Normal, 1) == nullptr);
    CHECK(TaskQueue::createQueue(eQOS_Normal, 3) == nullptr);
    allowThreads();
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 3);
    CHECK(queue != nullptr);
    CHECK(queue->getMaxConcurrency() == 3);
    Latch done(100);
    for (int i = 0; i < 100; ++i)
        add(queue, [&] { done.countDown(); });
    CHECK(done.wait(hangLimit));
    return 0;
}

int aQueueWorksWithTheWorkersThatItGot()
{
    const QCoreApplication application(argumentCount, arguments);
    for (int got = 1; got < 4; ++got) {
        refuseThreadsAfter(got);
        const auto queue = TaskQueue::createQueue(eQOS_Normal, 4);
        allowThreads();
        CHECK(queue != nullptr);
        CHECK(queue->getMaxConcurrency() == got);
        for (int round = 0; round < 50; ++round) { // each of them is asked
            Latch all(got);
            Latch done(got);
            for (int i = 0; i < got; ++i)
                add(queue, [&] {
                    all.countDown();
                    CHECK(all.wait(hangLimit));
                    done.countDown();
                });
            CHECK(done.wait(hangLimit));
        }
        Latch waited;
        add(queue, [&] {
            add(queue, [] {})->waitTillFinished();
            waited.countDown();
        });
        CHECK(waited.wait(hangLimit));
    }
    return 0;
}

int aTaskThatWaitsRunsWhatItWaitsForIfNoThreadIsHad()
{
    const QCoreApplication application(argumentCount, arguments);
    for (int workers = 1; workers < 4; ++workers) {
        const auto queue = TaskQueue::createQueue(eQOS_Normal, workers);
        refuseThreadsAfter(0);
        Latch waiting(workers);
        Latch returned(workers);
        for (int i = 0; i < workers; ++i)
            add(queue, [&] {
                waiting.countDown();
                CHECK(waiting.wait(hangLimit));
                add(queue, [&] { add(queue, [] {})->waitTillFinished(); })->waitTillFinished();
                returned.countDown();
            });
        CHECK(returned.wait(hangLimit));
        allowThreads();
        Latch done;
        add(queue, [&] { done.countDown(); });
        CHECK(done.wait(hangLimit));
    }
    return 0;
}

int othersKeepTheirOrderIfNoThreadIsHad()
{
    const QCoreApplication application(argumentCount, arguments);
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    refuseThreadsAfter(0);
    std::vector<int> order;
    Latch done(11);
    add(queue, [&] {
        for (int i = 0; i < 10; ++i)
            add(queue, [&, i] {
                order.push_back(i);
                done.countDown();
            });
        add(queue, [] {})->waitTillFinished();
        done.countDown();
    });
    CHECK(done.wait(hangLimit));
    CHECK((order == std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    return 0;
}

int aTaskThatIsAddedWhileAllWaitAndNoThreadIsHadRunsLater()
{
    const QCoreApplication application(argumentCount, arguments);
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    Latch running;
    Latch mayEnd;
    Latch done(2);
    add(queue, [&] {
        add(queue, [&] {
            running.countDown();
            CHECK(mayEnd.wait(hangLimit));
        })->waitTillFinished();
        done.countDown();
    });
    CHECK(running.wait(hangLimit)); // on an overflow queue, or within the wait
    refuseThreadsAfter(0);
    add(queue, [&] { done.countDown(); });
    mayEnd.countDown();
    CHECK(done.wait(hangLimit));
    return 0;
}

int aWaitThatHasBegunRunsItsTaskOnceNoThreadIsHad()
{
    const QCoreApplication application(argumentCount, arguments);
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    Latch running;
    Latch mayWait;
    Latch hasRun;
    const auto waiting = add(queue, [&] {
        running.countDown();
        CHECK(mayWait.wait(hangLimit));
        add(queue, [&] { CHECK(hasRun.wait(hangLimit)); })->waitTillFinished();
    });
    CHECK(running.wait(hangLimit));
    const WaitingThread thread(add(queue, [&] { hasRun.countDown(); }));
    refuseThreadsAfter(0);
    mayWait.countDown();
    waiting->waitTillFinished();
    return 0;
}

int aWaitThatHasBegunRunsATaskThatIsAddedWhileNoThreadIsHad()
{
    const QCoreApplication application(argumentCount, arguments);
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    Latch hasRun;
    const auto late = std::make_shared<Task>([&] { hasRun.countDown(); });
    const WaitingThread thread(late);
    refuseThreadsAfter(0);
    add(queue, [&] {
        add(queue, [&] {
            queue->addTask(late);
            CHECK(hasRun.wait(hangLimit));
        })->waitTillFinished();
    })->waitTillFinished();
    return 0;
}

int aWaitLeavesTasksToAWorkerThatHasStoppedWaiting()
{
    const QCoreApplication application(argumentCount, arguments);
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    refuseThreadsAfter(0);
    add(queue, [&] { add(queue, [] {})->waitTillFinished(); })->waitTillFinished();
    allowThreads();
    Latch running;
    Latch mayEnd;
    std::thread::id worker;
    std::thread::id other;
    add(queue, [&] {
        worker = std::this_thread::get_id();
        running.countDown();
        CHECK(mayEnd.wait(hangLimit));
    });
    CHECK(running.wait(hangLimit));
    {
        const WaitingThread thread(add(queue, [&] { other = std::this_thread::get_id(); }));
        mayEnd.countDown();
    }
    CHECK(other == worker);
    return 0;
}

int overflowQueuesThatHaveEndedMakeRoomForOthers()
{
    const QCoreApplication application(argumentCount, arguments);
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    const int base = liveThreads;
    for (int round = 0; round < 2 * mostOverflowThreads; ++round) {
        std::thread::id waiting;
        std::thread::id running;
        add(queue, [&] {
            waiting = std::this_thread::get_id();
            add(queue, [&] { running = std::this_thread::get_id(); })->waitTillFinished();
        })->waitTillFinished();
        CHECK(running != waiting);
        expectSoon([base] { return liveThreads <= base; });
    }
    return 0;
}

/// A task that waits for two more of its own queue, and so on.
void recurse(const std::shared_ptr<TaskQueue>& queue, int depth, std::atomic<int>& leaves)
{
    if (depth == 0) {
        ++leaves;
        return;
    }
    const auto half = [&, depth] { recurse(queue, depth - 1, leaves); };
    const std::shared_ptr<Task> left = add(queue, half);
    const std::shared_ptr<Task> right = add(queue, half);
    left->waitTillFinished();
    right->waitTillFinished();
}

int recursion(int workers, int depth)
{
    const QCoreApplication application(argumentCount, arguments);
    const auto queue = TaskQueue::createQueue(eQOS_Normal, workers);
    CHECK(queue != nullptr);
    const int base = liveThreads;
    threadLimit = base + mostOverflowThreads + threadsThatEnd;
    mostThreads = base;
    std::atomic<int> leaves{0};
    Latch done;
    add(queue, [&] {
        recurse(queue, depth, leaves);
        done.countDown();
    });
    CHECK(done.wait(std::chrono::seconds(50)));
    CHECK(leaves == 1 << depth);
    std::printf("%d threads beyond the first %d\n", mostThreads - base, base);
    return 0;
}

int recursionTenDeepOnOneWorker()
{
    return recursion(1, 10);
}

int recursionTenDeepOnFourWorkers()
{
    return recursion(4, 10);
}

int recursionFourteenDeepOnOneWorker()
{
    return recursion(1, 14);
}

int recursionFourteenDeepOnFourWorkers()
{
    return recursion(4, 14);
}

void recurseGlobally(int depth, std::atomic<int>& leaves)
{
    if (depth == 0)
        ++leaves;
    else
        for (int i = 0; i < 2; ++i)
            CHECK(dispatchSync([&, depth] { recurseGlobally(depth - 1, leaves); }, eQOS_Normal));
}

int recursionByDispatchSyncTenDeep()
{
    const QCoreApplication application(argumentCount, arguments);
    threadLimit = liveThreads + mostOverflowThreads + threadsThatEnd;
    std::atomic<int> leaves{0};
    recurseGlobally(10, leaves);
    CHECK(leaves == 1 << 10);
    return 0;
}

// What a host keeps in a worker's thread is destroyed after Qt has told that the thread has finished. Ends the process well,
// unless the process has ended before.
struct SlowToGo
{
    ~SlowToGo()
    {
        isGoing = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        std::_Exit(0);
    }
    static std::atomic<bool> isGoing;
};
std::atomic<bool> SlowToGo::isGoing{false};

int exitWhileAThreadDestroysItsObjects()
{
    const QCoreApplication application(argumentCount, arguments);
    std::shared_ptr<TaskQueue> queue = TaskQueue::createQueue(eQOS_Normal, 1);
    auto task = std::make_shared<Task>([] {
        static thread_local SlowToGo slow;
        static_cast<void>(slow);
    });
    queue->addTask(task);
    task->waitTillFinished();
    task.reset(); // which keeps the queue
    queue.reset();
    CHECK(Brennic::Testing::eventually([] { return SlowToGo::isGoing.load(); }));
    std::exit(1);
}

const std::map<std::string, int (*)()> scenes{
    {"noThreadMakesNoQueue", &noThreadMakesNoQueue},
    {"aQueueWorksWithTheWorkersThatItGot", &aQueueWorksWithTheWorkersThatItGot},
    {"aTaskThatWaitsRunsWhatItWaitsForIfNoThreadIsHad", &aTaskThatWaitsRunsWhatItWaitsForIfNoThreadIsHad},
    {"othersKeepTheirOrderIfNoThreadIsHad", &othersKeepTheirOrderIfNoThreadIsHad},
    {"aTaskThatIsAddedWhileAllWaitAndNoThreadIsHadRunsLater",
     &aTaskThatIsAddedWhileAllWaitAndNoThreadIsHadRunsLater},
    {"aWaitThatHasBegunRunsItsTaskOnceNoThreadIsHad", &aWaitThatHasBegunRunsItsTaskOnceNoThreadIsHad},
    {"aWaitThatHasBegunRunsATaskThatIsAddedWhileNoThreadIsHad",
     &aWaitThatHasBegunRunsATaskThatIsAddedWhileNoThreadIsHad},
    {"aWaitLeavesTasksToAWorkerThatHasStoppedWaiting", &aWaitLeavesTasksToAWorkerThatHasStoppedWaiting},
    {"overflowQueuesThatHaveEndedMakeRoomForOthers", &overflowQueuesThatHaveEndedMakeRoomForOthers},
    {"recursionTenDeepOnOneWorker", &recursionTenDeepOnOneWorker},
    {"recursionTenDeepOnFourWorkers", &recursionTenDeepOnFourWorkers},
    {"recursionFourteenDeepOnOneWorker", &recursionFourteenDeepOnOneWorker},
    {"recursionFourteenDeepOnFourWorkers", &recursionFourteenDeepOnFourWorkers},
    {"recursionByDispatchSyncTenDeep", &recursionByDispatchSyncTenDeep},
    {"exitWhileAThreadDestroysItsObjects", &exitWhileAThreadDestroysItsObjects},
};

} // namespace

int main(int count, char** values)
{
    CHECK(count == 2);
    const auto scene = scenes.find(values[1]);
    CHECK(scene != scenes.end());
    return scene->second();
}
