#include <brn_mesh_kernel/tasks/ParallelLoops.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/LoopGate.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/TaskQueueCore.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>
#include <brn_mesh_kernel/tasks/WaitGraph.h>
#include <brn_mesh_kernel/tasks/WorkerThreads.h>

namespace Brennic::Core {

namespace {

using Clock = std::chrono::steady_clock;
using Count = std::uint64_t;

// What a chosen grain takes: so long that handing it out does not count beside it, so short that the loop is
// soon cancelled.
constexpr std::chrono::microseconds grainTime{100};

// By how much a chosen grain grows at most: items may differ, and the first ones take longer for cold caches.
constexpr double mostGrowth = 4;

// Toward the end of the range chosen grains shrink, so that the threads end together, but to no less than
// this part of what fits the time.
constexpr Count leastPart = 20;

// How often the calling thread reports, and looks for workers that could help.
constexpr std::chrono::milliseconds tickTime{1};

// Given grains may be shorter than a reading of the clock is worth: then it is read once in so many of them,
// as long as these together take less than the time.
constexpr int mostGrainsPerReading = 16;
constexpr std::chrono::microseconds timePerReading{50};

// How long a helper keeps its worker from other tasks that are pending.
constexpr std::chrono::milliseconds helpTime{5};

// How many helpers may be pending in a queue for each of its workers. Most of them belong to loops that have
// ended.
constexpr int pendingPerWorker = 8;

// Beyond this the calling thread counts as waiting, if it is a worker's. Others may move its queue's tasks
// then, which costs more than the wait for a usual grain.
constexpr std::chrono::milliseconds patience{10};

// How often the calling thread yields before it sleeps, as for a task that is about to end.
constexpr int mostYields = 100;

struct GatePlatform
{
    class Word
    {
    public:
        explicit Word(unsigned value) : m_value(value) {}
        unsigned load() const { return m_value.load(); }
        bool compareExchange(unsigned& expected, unsigned value)
        {
            return m_value.compare_exchange_weak(expected, value);
        }
        unsigned fetchAdd(unsigned value) { return m_value.fetch_add(value); }
        unsigned fetchSub(unsigned value) { return m_value.fetch_sub(value); }

    private:
        std::atomic<unsigned> m_value;
    };

    using Mutex = std::mutex;

    class Condition
    {
    public:
        void wait(std::unique_lock<std::mutex>& lock) { m_condition.wait(lock); }
        template <typename Predicate>
        bool waitFor(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds limit, Predicate predicate)
        {
            return m_condition.wait_for(lock, limit, predicate);
        }
        void notifyAll() { m_condition.notify_all(); }

    private:
        std::condition_variable m_condition;
    };
};

// How many items one thread takes at a time.
class GrainSize
{
public:
    // A size of 0 is chosen by the time that items take.
    GrainSize(Count size, Count step, int threads)
        : m_isChosen(size == 0),
          m_step(step),
          m_threads(static_cast<Count>(threads)),
          m_size(size == 0 ? step : size)
    {
    }

    bool isChosen() const { return m_isChosen; }

    Count next(Count left) const
    {
        if (!m_isChosen)
            return m_size;
        const Count share = left / m_threads / (m_threads == 1 ? 1 : 2);
        const Count size = std::min(m_size, std::max(share, m_size / leastPart));
        return std::max(size - size % m_step, m_step);
    }

    void learn(Count items, Clock::duration time)
    {
        constexpr double largest = 0x1p62; // far beyond what takes the time, and no product overflows
        const double each =
            static_cast<double>(std::max<Clock::rep>(time.count(), 1)) / static_cast<double>(items);
        const double fitting = static_cast<double>(Clock::duration(grainTime).count()) / each;
        m_size = static_cast<Count>(
            std::clamp(fitting, 1.0, std::min(largest, mostGrowth * static_cast<double>(m_size))));
    }

private:
    bool m_isChosen;
    Count m_step;
    Count m_threads;
    Count m_size;
};

// A helper that is pending: until it begins, or is released without being run.
class PendingHelper
{
public:
    explicit PendingHelper(std::shared_ptr<TaskQueueCore> core) : m_core(std::move(core))
    {
        ++m_core->pendingHelpers;
    }
    ~PendingHelper() { --m_core->pendingHelpers; }
    PendingHelper(const PendingHelper&) = delete;
    PendingHelper& operator=(const PendingHelper&) = delete;

private:
    std::shared_ptr<TaskQueueCore> m_core;
};

} // namespace

// What the calling thread shares with its helpers. One that comes late finds the gate closed and lets go of
// this, so nothing of the host's is owned here: neither the progress nor the queue, nor an exception that was
// thrown.
class ParallelLoop : public std::enable_shared_from_this<ParallelLoop>
{
public:
    // The queue may be null; it and the progress are kept by the caller of run().
    ParallelLoop(Count count, Count step, LoopBody body, const LoopOptions& options, TaskQueue* queue)
        : m_count(count),
          m_step(step),
          m_grain(options.grain),
          m_body(body),
          m_progress(options.progress.get()),
          m_core(queue == nullptr ? nullptr : queue->m_core),
          m_mostPending(queue == nullptr ? 0 : pendingPerWorker * queue->getMaxConcurrency()),
          m_mostHelpers(queue == nullptr ? 0 : mostHelpers(options.maxWorkers))
    {
    }

    ELoopEnd run();

private:
    class Wait;
    class Inside;

    struct Part
    {
        Count begin;
        Count end;
    };

    int mostHelpers(int maxWorkers) const;
    void sendHelpers();
    bool sendHelper();
    void help();
    template <typename Tick>
    void work(Count& done, Tick tick);
    bool take(const GrainSize& size, Part& part);
    void stop();
    void fail();
    void report();
    void waitForHelpers();

    const Count m_count;
    const Count m_step;
    const Count m_grain;
    const LoopBody m_body; // and the progress: used by the caller, and inside the gate
    Progress* const m_progress;
    const std::shared_ptr<TaskQueueCore> m_core; // null: no queue can help
    const int m_mostPending;
    const int m_mostHelpers;
    Count m_doneHere = 0; // items, by the calling thread, like the next
    Count m_reported = 0;
    std::exception_ptr m_failure; // written by whoever has set m_hasFailed
    std::atomic<bool> m_hasFailed{false};
    std::atomic<bool> m_isCut{false}; // stopped before the end of the range
    LoopGate<GatePlatform> m_gate;
    std::mutex m_insideMutex;
    std::vector<std::thread::id> m_inside; // guarded by m_insideMutex: the threads of the helpers in the gate
    // Each in a cache line that no other thread needs for what stands above.
    alignas(64) std::atomic<Count> m_next{0}; // the first item that nobody has taken
    alignas(64) std::atomic<Count> m_doneByHelpers{0};
    std::atomic<int> m_helpers{0}; // sent, and not gone to let tasks run
};

// The wait for the helpers that are inside. It ends when all of their threads go on.
class ParallelLoop::Wait final : public WaitGraph::Wait
{
public:
    explicit Wait(ParallelLoop& loop) : m_loop(loop) {}
    ~Wait() { leave(); }

private:
    WaitGraph::Target target() const override
    {
        const std::lock_guard<std::mutex> lock(m_loop.m_insideMutex);
        return {WaitGraph::Target::Loop, m_loop.m_inside, nullptr};
    }
    bool canBeGivenUp() const override { return false; }
    void giveUp() override {}

    ParallelLoop& m_loop;
};

// A helper that is inside the gate, in its thread.
class ParallelLoop::Inside
{
public:
    explicit Inside(ParallelLoop& loop) : m_loop(loop)
    {
        const std::lock_guard<std::mutex> lock(m_loop.m_insideMutex);
        m_loop.m_inside.push_back(std::this_thread::get_id());
    }
    ~Inside()
    {
        const std::lock_guard<std::mutex> lock(m_loop.m_insideMutex);
        std::vector<std::thread::id>& inside = m_loop.m_inside; // twice, if a part runs an event loop
        inside.erase(std::find(inside.begin(), inside.end(), std::this_thread::get_id()));
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

private:
    ParallelLoop& m_loop;
};

int ParallelLoop::mostHelpers(int maxWorkers) const
{
    const TaskWorker* const worker = TaskWorker::current();
    const int workers =
        m_core->scheduler.workerCount() - (worker != nullptr && &worker->core() == m_core.get() ? 1 : 0);
    const Count others = (m_count - 1) / std::max(m_grain, m_step); // grains beside the caller's first
    const int wanted = maxWorkers < 1 ? workers : std::min(workers, maxWorkers - 1);
    return static_cast<int>(std::min(others, static_cast<Count>(std::max(wanted, 0))));
}

// The calling thread takes grains until none is left, and reports in between. Then it closes the gate, so
// that only helpers which are inside are waited for.
ELoopEnd ParallelLoop::run()
{
    try {
        sendHelpers();
        work(m_doneHere, [this](Clock::time_point) {
            report();
            sendHelpers();
            return true;
        });
    } catch (...) {
        fail();
    }
    m_gate.close();
    waitForHelpers();
    try {
        report();
    } catch (...) {
        fail();
    }
    if (m_failure)
        std::rethrow_exception(std::exchange(m_failure, nullptr));
    return m_isCut ? eLoop_Cancelled : eLoop_Completed;
}

void ParallelLoop::sendHelpers()
{
    while (m_helpers < m_mostHelpers && m_next < m_count && sendHelper())
        ++m_helpers;
}

// Not by TaskQueue::dispatch(): a helper is no task of the host's to be announced, and none that a thread
// must be made for while every worker waits.
bool ParallelLoop::sendHelper()
{
    if (m_core->pendingHelpers >= m_mostPending || !WorkerThreads::areEventsDelivered())
        return false;
    TaskJob job;
    job.function = [pending = std::make_shared<PendingHelper>(m_core), loop = shared_from_this()]() mutable {
        pending.reset();
        loop->help();
    };
    return m_core->add(job);
}

// In a worker's thread. Whoever is inside is waited for, so the body, the progress and the queue are there.
void ParallelLoop::help()
{
    if (!m_gate.enter())
        return;
    Count done = 0;
    Count told = 0;
    const auto tell = [&] {
        m_doneByHelpers.fetch_add(done - std::exchange(told, done), std::memory_order_relaxed);
    };
    try {
        const Inside inside(*this);
        const Clock::time_point begin = Clock::now();
        work(done, [&](Clock::time_point now) {
            tell();
            if (now - begin < helpTime || m_core->scheduler.pendingCount() == 0)
                return true;
            if (!sendHelper()) // behind the tasks; if not, the calling thread sends one
                --m_helpers;
            return false;
        });
    } catch (...) {
        fail();
    }
    tell();
    m_gate.leave();
}

// Runs the body for one grain after the other, until none is left. \p done counts the items. \p tick is
// called once in a while, and ends the work by returning false.
template <typename Tick>
void ParallelLoop::work(Count& done, Tick tick)
{
    GrainSize size(m_grain, m_step, m_mostHelpers + 1);
    int grains = 0;
    int grainsPerReading = 1;
    Clock::time_point now = Clock::now();
    Clock::time_point lastTick = now;
    for (Part part{}; take(size, part);) {
        m_body(part.begin, part.end);
        done += part.end - part.begin;
        if (++grains < grainsPerReading)
            continue;
        grains = 0;
        const Clock::time_point before = std::exchange(now, Clock::now());
        const Clock::duration time = now - before;
        if (size.isChosen())
            size.learn(part.end - part.begin, time);
        else if (time < timePerReading)
            grainsPerReading = std::min(2 * grainsPerReading, mostGrainsPerReading);
        else
            grainsPerReading = time > tickTime ? 1 : std::max(1, grainsPerReading / 2);
        if (now - lastTick < tickTime)
            continue;
        lastTick = now;
        if (!tick(now))
            return;
    }
}

// Compares before it adds: the sum of the range and the grains of all threads may be beyond the type.
bool ParallelLoop::take(const GrainSize& size, Part& part)
{
    if (m_progress != nullptr && m_progress->isCancelled())
        stop();
    part.begin = m_next.load(std::memory_order_relaxed);
    do {
        if (part.begin >= m_count)
            return false;
        const Count left = m_count - part.begin;
        part.end = part.begin + std::min(left, size.next(left));
    } while (!m_next.compare_exchange_weak(part.begin, part.end, std::memory_order_relaxed));
    return true;
}

void ParallelLoop::stop()
{
    if (m_next.exchange(m_count) < m_count)
        m_isCut = true;
}

// Called in a handler: keeps the first exception, and stops the loop.
void ParallelLoop::fail()
{
    if (!m_hasFailed.exchange(true))
        m_failure = std::current_exception();
    stop();
}

// In the calling thread alone: one thread at a time may report to what the progress is a part of.
void ParallelLoop::report()
{
    const Count done = m_doneHere + m_doneByHelpers.load(std::memory_order_relaxed);
    const Count more = done - m_reported;
    if (m_progress == nullptr || more == 0)
        return;
    m_reported = done; // first: if a receiver throws, the progress has counted
    constexpr Count most = std::numeric_limits<int>::max();
    m_progress->incrementCompletedUnitCount(static_cast<int>(std::min(more, most)));
}

// The grain of a helper may wait for a task of the queue whose worker the calling thread is. So in a long
// wait that worker counts as waiting, as it does while it waits for a task.
void ParallelLoop::waitForHelpers()
{
    for (int i = 0; i < mostYields && !m_gate.isEmpty(); ++i)
        std::this_thread::yield();
    if (m_gate.isEmpty() || m_gate.waitFor(patience))
        return;
    TaskWorker* const worker = TaskWorker::current();
    Wait wait(*this);
    try {
        if (worker != nullptr)
            TaskQueue::beginWait(*worker);
        wait.enter(); // a part may wait for this thread
    } catch (...) {   // no memory for an overflow queue, and no way back: helpers are inside
        fail();
    }
    m_gate.wait();
    wait.leave();
    if (worker != nullptr)
        TaskQueue::endWait(*worker);
}

ELoopEnd runLoop(std::uint64_t count, std::uint64_t step, LoopBody body, const LoopOptions& options)
{
    if (count == 0)
        return eLoop_Completed;
    // Kept here, and not by the helpers: one that comes late must not be the last to let go of them.
    const std::shared_ptr<Progress> progress = options.progress;
    TaskQueue* queue = options.queue != nullptr ? options.queue : TaskQueue::getGlobalQueue(options.qos);
    if (queue != nullptr && queue->getQOS() == eQOS_GUI) // whose thread would be kept from its events
        queue = nullptr;
    const std::shared_ptr<TaskQueue> keptQueue = queue != nullptr ? queue->shared_from_this() : nullptr;
    return std::make_shared<ParallelLoop>(count, step, body, options, queue)->run();
}

} // namespace Brennic::Core
