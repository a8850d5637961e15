/// \file
/// Runs the scheduler that ships through the interleavings of a few threads, under Relacy. The model stands
/// in for Qt: a worker's event queue is a counter with a semaphore, and its thread is one of Relacy's.
///
/// A lost job shows as a deadlock, since the threads end only after all jobs have run. Missing
/// synchronization shows as a data race on a variable of Relacy's: each job carries two, each mutex guards
/// one, and whoever touches a worker reads one. Relacy takes two accesses for ordered only if synchronization
/// orders them.
///
/// Usage: task_scheduler_model SCENARIO [SWITCHES | full] Searches all interleavings with at most SWITCHES
/// switches away from threads that could go on. A switch away from a thread that waits or has ended is not
/// counted. With `full` there is no limit. Exits with 0 if no fault was found, else prints the steps that
/// lead to one and exits with 1.

#include <brn_mesh_kernel/tasks/TaskScheduler.h>

#include <array>
#include <cstdlib>
#include <iostream>
#include <string>

#include <relacy/relacy.hpp>
#undef assert
#undef delete
#undef new

using Brennic::Core::TaskScheduler;

namespace {

/// Makes what happens during its life one step: no other thread runs in between.
class Undivided
{
public:
    Undivided() { rl::ctx().disable_preemption(); }
    ~Undivided() { rl::ctx().enable_preemption(); }
};

class MutexOfRelacy
{
public:
    void lock() { m_mutex.lock(RL_INFO); }
    void unlock() { m_mutex.unlock(RL_INFO); }

private:
    rl::mutex m_mutex;
};

template <rl::memory_order unlockOrder>
class SpinLock
{
public:
    void lock()
    {
        while (m_isTaken.exchange(1, rl::mo_acquire, RL_INFO) != 0)
            rl::yield(1, RL_INFO);
    }
    void unlock() { m_isTaken.store(0, unlockOrder, RL_INFO); }

private:
    rl::atomic<int> m_isTaken{0};
};

/// Adds a variable that stands for all that the mutex guards: if two sections overlap, it is written twice at
/// once.
template <typename Base>
class Guarding : public Base
{
public:
    void lock()
    {
        Base::lock();
        m_guarded(RL_INFO).store(0);
    }

private:
    rl::var<int> m_guarded;
};

/// Makes a section one step of the search. No thread can see what the mutex guards before it is unlocked, so
/// a switch inside a section shows nothing that a switch before it does not: searches become shorter and miss
/// nothing.
template <typename Base>
class Sections : public Guarding<Base>
{
public:
    void lock()
    {
        Guarding<Base>::lock();
        rl::ctx().disable_preemption();
    }
    void unlock()
    {
        Guarding<Base>::unlock();
        rl::ctx().enable_preemption();
    }
};

template <rl::memory_order subtractOrder>
class AtomicCount
{
public:
    explicit AtomicCount(int value) : m_value(value) {}
    int load() const { return m_value.load(rl::mo_seq_cst, RL_INFO); }
    void fetch_add(int value) { m_value.fetch_add(value, rl::mo_seq_cst, RL_INFO); }
    void fetch_sub(int value) { m_value.fetch_sub(value, subtractOrder, RL_INFO); }

private:
    rl::atomic<int> m_value;
};

/// A count for scenarios in which nobody reads it. Its operations are no steps, which makes searches shorter.
class UnseenCount
{
public:
    explicit UnseenCount(int /*value*/) {}
    int load() const { return 0; }
    void fetch_add(int /*value*/) {}
    void fetch_sub(int /*value*/) {}
};

/// Stands for the application object: events are delivered while the gate is open.
struct Gate
{
    static inline rl::atomic<int>* state = nullptr; // of the running model; null if the gate is always open
    static bool isOpen() { return state == nullptr || state->load(rl::mo_relaxed, RL_INFO) != 0; }
};

template <typename MutexType, typename CountType>
struct Platform
{
    using Mutex = MutexType;
    using Count = CountType;
    static bool isOpen() { return Gate::isOpen(); }
};

using BySections = Platform<Sections<MutexOfRelacy>, UnseenCount>;
using ByOperations = Platform<Guarding<MutexOfRelacy>, AtomicCount<rl::mo_seq_cst>>;

class Semaphore
{
public:
    Semaphore() { m_semaphore.init(false, 0, 100, RL_INFO); }
    ~Semaphore() { m_semaphore.deinit(RL_INFO); }
    void post() { m_semaphore.signal(RL_INFO); }
    void wait() { m_semaphore.wait(false, false, RL_INFO); }

private:
    rl::semaphore<Semaphore> m_semaphore;
};

/// The posted events of a worker's thread, and the call that ends the thread.
class EventQueue
{
public:
    void post()
    {
        rl::ctx().sched(); // others may run between the section and its event
        const Undivided step;
        ++m_events;
        m_wakeUps.post();
    }

    void quit()
    {
        const Undivided step;
        m_wakeUps.post();
    }

    /// Waits for an event; false if the thread is to end.
    bool next()
    {
        m_wakeUps.wait();
        return m_events-- > 0;
    }

    int count() const { return m_events; }
    void clear() { m_events = 0; }

private:
    int m_events = 0;
    Semaphore m_wakeUps;
};

/// What a job reads and writes.
struct Work
{
    rl::var<int> input;
    rl::var<int> runs{0};
    Semaphore done;
};

struct Job
{
    Work* work = nullptr;
    explicit operator bool() const { return work != nullptr; }
};

/// Lets the scheduler's containers allocate outside Relacy, which tries two outcomes of each release:
/// searches would take long and find nothing more.
class PlainAllocation : rl::context
{
public:
    static void begin() { rl::ctx().*(&PlainAllocation::disable_alloc_) += 1; }
    static void end() { rl::ctx().*(&PlainAllocation::disable_alloc_) -= 1; }
};

struct Allocations
{
    Allocations() { PlainAllocation::begin(); }
    ~Allocations() { PlainAllocation::end(); }
};

/// Two workers, two jobs, and what all scenarios do with them, as TaskWorker and TaskQueueCore do it.
template <typename Platform>
class Model
{
protected:
    using Scheduler = TaskScheduler<Platform, Job>;
    using Notifications = typename Scheduler::Notifications;

    struct Worker : Scheduler::Worker
    {
        EventQueue events;
        rl::var<int> memory{1}; // touching the worker reads it, deleting the worker writes it
    };

    void startWorkers()
    {
        for (Worker& worker : m_workers) {
            m_scheduler.addWorker(worker);
            post(m_scheduler.start(worker));
        }
    }

    void add(std::size_t number)
    {
        Job job{&m_works[number]};
        job.work->input(RL_INFO).store(static_cast<int>(number) + 1);
        post(m_scheduler.add(job));
        RL_ASSERT(!job);
    }

    void post(Notifications notifications)
    {
        if (notifications.isWatchDue)
            m_watchDue.post();
        notifications.post([](typename Scheduler::Worker& notified) {
            auto& worker = static_cast<Worker&>(notified);
            worker.events.post();
            worker.memory(RL_INFO).load();
        });
    }

    template <typename RunJob>
    void serve(Worker& worker, RunJob runJob)
    {
        Job job;
        for (bool isBusy = false;; isBusy = true) {
            post(isBusy ? m_scheduler.takeNext(worker, job) : m_scheduler.arrive(worker, job));
            if (!job)
                return;
            runJob(*job.work);
            if (m_mayTurnsEnd && rl::rand(2) == 1) {
                post(m_scheduler.leave(worker));
                return;
            }
            job = Job();
        }
    }

    void run(Work& work)
    {
        const int number = static_cast<int>(&work - m_works.data());
        RL_ASSERT(work.input(RL_INFO).load() == number + 1);
        const int runs = work.runs(RL_INFO).load();
        RL_ASSERT(runs == 0);
        work.runs(RL_INFO).store(runs + 1);
        ++m_runs;
        work.done.post();
        if (areAllRun())
            quit();
    }

    bool areAllRun() const { return m_runs == static_cast<int>(m_works.size()); }

    void quit()
    {
        for (Worker& worker : m_workers)
            worker.events.quit();
        const Undivided step;
        m_watchDue.post();
    }

    void expectAllRunOnce()
    {
        for (Work& work : m_works)
            RL_ASSERT(work.runs(RL_INFO).load() == 1);
        m_scheduler.forEachPending([](const Job&) { RL_ASSERT(false); });
    }

    Allocations m_allocations; // first, so that it outlives what allocates
    Scheduler m_scheduler;
    std::array<Worker, 2> m_workers;
    std::array<Work, 2> m_works;
    Semaphore m_watchDue;
    int m_runs = 0;
    bool m_mayTurnsEnd = false; // whether a worker may leave after any job, for the host's events
};

/// What a faulty user of the scheduler leaves out. The model must find each of them.
enum class Omission
{
    None,
    HandOn,        ///< Posting the events that are due when a wait begins.
    LateWorkers,   ///< Calling relieveLate() once a tick.
    LostEvent,     ///< Calling loseEvent() for an event that was dropped.
    Resumption,    ///< Calling resume() when events are delivered again.
    LookAtPosters, ///< Waiting until nobody posts to a worker before it is deleted.
};

/// Two threads add a job each. In a slot of the host, the thread of a worker waits for the first job.
template <typename Platform, Omission omission = Omission::None>
struct WaitModel : rl::test_suite<WaitModel<Platform, omission>, 4>, Model<Platform>
{
    void before() { this->startWorkers(); }

    void thread(unsigned index)
    {
        if (index < 2) {
            this->add(index);
            return;
        }
        auto& worker = this->m_workers[index - 2];
        if (index == 3) {
            auto notifications = this->m_scheduler.beginWait(worker);
            if (omission != Omission::HandOn)
                this->post(notifications);
            this->m_works[0].done.wait();
            this->post(this->m_scheduler.endWait(worker));
        }
        while (worker.events.next())
            this->serve(worker, [this](Work& work) { this->run(work); });
    }

    void after() { this->expectAllRunOnce(); }
};

/// Two threads add a job each. The second job waits for the first, on whichever worker runs it. A worker may
/// start at any time, and may leave after any job to let the host's events have their turn.
template <typename Platform>
struct NestedWaitModel : rl::test_suite<NestedWaitModel<Platform>, 4>, Model<Platform>
{
    void before()
    {
        this->m_mayTurnsEnd = true;
        for (auto& worker : this->m_workers)
            this->m_scheduler.addWorker(worker);
    }

    void thread(unsigned index)
    {
        if (index < 2) {
            this->add(index);
            return;
        }
        auto& worker = this->m_workers[index - 2];
        this->post(this->m_scheduler.start(worker));
        while (worker.events.next())
            this->serve(worker, [&](Work& work) {
                if (&work == &this->m_works[1]) {
                    this->post(this->m_scheduler.beginWait(worker));
                    this->m_works[0].done.wait();
                    this->post(this->m_scheduler.endWait(worker));
                }
                this->run(work);
            });
    }

    void after() { this->expectAllRunOnce(); }
};

/// The thread of the worker that is notified first stays in a slot of the host until all jobs have run.
template <typename Platform, Omission omission = Omission::None>
struct LateModel : rl::test_suite<LateModel<Platform, omission>, 4>, Model<Platform>
{
    void before() { this->startWorkers(); }

    void thread(unsigned index)
    {
        if (index == 0) {
            this->add(0);
            this->add(1);
        } else if (index == 1) {
            watch();
        } else {
            auto& worker = this->m_workers[index - 2];
            if (index == 3) {
                this->m_works[0].done.wait();
                this->m_works[1].done.wait();
            }
            while (worker.events.next())
                this->serve(worker, [this](Work& work) { this->run(work); });
        }
    }

    void after() { this->expectAllRunOnce(); }

private:
    void watch()
    {
        while (!this->areAllRun()) {
            this->m_watchDue.wait();
            for (bool isWatched = omission != Omission::LateWorkers; isWatched && !this->areAllRun();) {
                this->post(this->m_scheduler.relieveLate(isWatched));
                rl::yield(1, RL_INFO);
            }
        }
    }
};

/// The application object is destroyed and another one is made. Qt drops the events that arrive in between.
template <typename Platform, Omission omission = Omission::None>
struct DropModel : rl::test_suite<DropModel<Platform, omission>, 4>, Model<Platform>
{
    DropModel() { Gate::state = &m_isOpen; }
    ~DropModel() { Gate::state = nullptr; }

    void before() { this->startWorkers(); }

    void thread(unsigned index)
    {
        if (index == 0) {
            this->add(0);
            this->add(1);
        } else if (index == 1) {
            m_isOpen.store(0, rl::mo_relaxed, RL_INFO);
            m_isOpen.store(1, rl::mo_relaxed, RL_INFO);
            if (omission != Omission::Resumption)
                this->post(this->m_scheduler.resume());
        } else {
            auto& worker = this->m_workers[index - 2];
            while (worker.events.next())
                if (Gate::isOpen())
                    this->serve(worker, [this](Work& work) { this->run(work); });
                else if (omission != Omission::LostEvent)
                    this->post(this->m_scheduler.loseEvent(worker));
        }
    }

    void after() { this->expectAllRunOnce(); }

private:
    rl::atomic<int> m_isOpen{1};
};

/// The last job destroys the queue: each worker's thread deletes its worker, perhaps while another thread
/// posts to it.
template <typename Platform, Omission omission = Omission::None>
struct RemovalModel : rl::test_suite<RemovalModel<Platform, omission>, 4>, Model<Platform>
{
    void before() { this->startWorkers(); }

    void thread(unsigned index)
    {
        if (index < 2) {
            this->add(index);
            return;
        }
        auto& worker = this->m_workers[index - 2];
        while (worker.events.next())
            this->serve(worker, [this](Work& work) {
                if (this->m_runs == 1)
                    this->m_scheduler.takeAll(true);
                this->run(work);
            });
        while (omission != Omission::LookAtPosters && worker.isBeingPosted())
            rl::yield(1, RL_INFO);
        worker.events.clear();
        this->m_scheduler.removeWorker(worker);
        worker.memory(RL_INFO).store(0);
    }

    void after()
    {
        this->expectAllRunOnce();
        for (auto& worker : this->m_workers)
            RL_ASSERT(worker.events.count() <= 0);
    }
};

struct Scenario
{
    const char* name;
    bool (*check)(rl::test_params& params);
    unsigned switches;
};

template <rl::memory_order unlockOrder>
using BySpinLock = Platform<Guarding<SpinLock<unlockOrder>>, UnseenCount>;

template <rl::memory_order subtractOrder>
using Counting = Platform<Sections<MutexOfRelacy>, AtomicCount<subtractOrder>>;

constexpr std::array scenarios{
    Scenario{"wait", &rl::simulate<WaitModel<BySections>>, 4},
    Scenario{"waitByOperations", &rl::simulate<WaitModel<ByOperations>>, 3},
    Scenario{"waitWithSpinLock", &rl::simulate<WaitModel<BySpinLock<rl::mo_release>>>, 3},
    Scenario{"nestedWait", &rl::simulate<NestedWaitModel<BySections>>, 3},
    Scenario{"late", &rl::simulate<LateModel<BySections>>, 3},
    Scenario{"drop", &rl::simulate<DropModel<BySections>>, 3},
    Scenario{"removal", &rl::simulate<RemovalModel<Counting<rl::mo_seq_cst>>>, 3},
    // Each of these has a fault, which its test expects to be found.
    Scenario{"relaxedUnlock", &rl::simulate<WaitModel<BySpinLock<rl::mo_relaxed>>>, 3},
    Scenario{"relaxedCount", &rl::simulate<RemovalModel<Counting<rl::mo_relaxed>>>, 3},
    Scenario{"noHandOn", &rl::simulate<WaitModel<BySections, Omission::HandOn>>, 4},
    Scenario{"noWatchdog", &rl::simulate<LateModel<BySections, Omission::LateWorkers>>, 3},
    Scenario{"noLoss", &rl::simulate<DropModel<BySections, Omission::LostEvent>>, 3},
    Scenario{"noResumption", &rl::simulate<DropModel<BySections, Omission::Resumption>>, 3},
    Scenario{"noLookAtPosters",
             &rl::simulate<RemovalModel<Counting<rl::mo_seq_cst>, Omission::LookAtPosters>>, 3},
};

} // namespace

int main(int argc, char** argv)
{
    const std::string name = argc > 1 ? argv[1] : "";
    const std::string limit = argc > 2 ? argv[2] : "";
    for (const Scenario& scenario : scenarios) {
        if (name != scenario.name)
            continue;
        rl::test_params params;
        params.search_type = limit == "full" ? rl::sched_full : rl::sched_bound;
        params.context_bound = limit.empty() ? scenario.switches : static_cast<unsigned>(std::atoi(argv[2]));
        return scenario.check(params) ? 0 : 1;
    }
    std::cerr << "No such scenario: " << name << '\n';
    return 2;
}
