#pragma once
/// \file
/// Decides which worker of a queue runs the next job, and which workers to notify. Not installed.
///
/// One mutex guards the pending jobs and the state of every worker. Each operation is one section under it. A
/// section that may leave a pending job without a worker ends in \ref TaskScheduler::settle: if a job is
/// pending, a worker is idle and none is notified, it notifies one idle worker. A worker becomes idle only in
/// the section in which it found nothing pending, and a job is added in the section that picks the worker. So
/// no wake-up is lost, and nothing needs atomics.
///
/// A section returns the workers that it has notified, and the caller posts their events after it: posting
/// takes locks of Qt, which must not nest in the mutex.
///
/// The queues run this class with `TaskPlatform` and `TaskJob` (TaskQueueCore.h). It knows neither Qt nor
/// threads: what it needs of them comes with \p Platform, so that a model checker runs the code that ships
/// (tests/model). docs/tasks.md draws the states. Threads: every function may be called from any thread.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <mutex>
#include <utility>
#include <vector>

namespace Brennic::Core {

/// Jobs in the order of arrival, numbered from 1. \ref remove leaves an empty job (`!job`) behind, so that
/// the numbers of the others stay.
template <typename Job>
class PendingJobs
{
public:
    using Number = std::uint64_t;
    static constexpr Number last = std::numeric_limits<Number>::max();

    std::size_t count() const { return m_count; }
    Number newest() const { return m_first + m_jobs.size() - 1; }

    /// Appends \p job and leaves it empty. \return its number.
    Number push(Job&& job)
    {
        m_jobs.push_back(std::move(job));
        job = Job(); // moving alone need not empty it, and callers ask whether it was taken
        ++m_count;
        return newest();
    }

    /// Takes the oldest job into \p job, unless its number is higher than \p limit. Leaves \p job as it is if
    /// there is none: callers pass an empty one.
    /// \return the number of the next.
    Number pop(Job& job, Number limit = last)
    {
        while (!m_jobs.empty() && !m_jobs.front())
            dropFront();
        if (!m_jobs.empty() && m_first <= limit) {
            job = std::move(m_jobs.front());
            dropFront();
            --m_count;
        }
        return m_first;
    }

    /// Takes the oldest job for which \p isMeant holds into \p job.
    template <typename Predicate>
    void remove(Predicate isMeant, Job& job)
    {
        const auto found = std::find_if(m_jobs.begin(), m_jobs.end(),
                                        [&](const Job& pending) { return pending && isMeant(pending); });
        if (found == m_jobs.end())
            return;
        job = std::exchange(*found, Job());
        --m_count;
    }

    template <typename Function>
    void forEach(Function function) const
    {
        for (const Job& job : m_jobs)
            if (job)
                function(job);
    }

private:
    void dropFront()
    {
        m_jobs.pop_front();
        ++m_first;
    }

    std::deque<Job> m_jobs;
    Number m_first = 1; // of the front
    std::size_t m_count = 0;
};

/// \p Platform has the types `Mutex` and `Count` (an atomic int), and `bool isOpen()`: whether events are
/// delivered.
template <typename Platform, typename Job>
class TaskScheduler
{
public:
    using Jobs = PendingJobs<Job>;
    using Number = typename Jobs::Number;

    /// What a worker's thread does, as far as the scheduler can know. If several apply, the first one counts.
    enum class State
    {
        Waiting,  ///< It waits for a task of the queue or of its overflow queues.
        Busy,     ///< It runs a job, which may run an event loop.
        Starting, ///< It has yet to enter its event loop.
        Idle,     ///< It serves events, and none of ours is on its way to it.
        Late,     ///< Its event has not arrived in time: the host holds the thread up.
        Notified, ///< An event is on its way, and has not been for long.
    };

    /// The scheduler's part of a worker.
    class Worker
    {
    public:
        Worker() = default;
        Worker(const Worker&) = delete;
        Worker& operator=(const Worker&) = delete;

        /// Whether a thread has yet to post the worker's event, or is posting it. Whoever deletes the worker,
        /// or takes its events back, waits until this is false.
        bool isBeingPosted() const { return m_posts.load() != 0; }

    private:
        friend class TaskScheduler;

        State current() const
        {
            if (m_waits > 0)
                return State::Waiting;
            if (m_runs > 0)
                return State::Busy;
            if (!m_hasStarted)
                return State::Starting;
            if (!m_hasEvent)
                return State::Idle;
            return m_isLate ? State::Late : State::Notified;
        }

        // The scheduler's mutex guards all but the last.
        State m_state = State::Starting; // current() as of the last update(): the one that the counts include
        bool m_hasStarted = false;
        bool m_hasEvent = false;
        bool m_isLate = false;
        bool m_isEventOld = false;    // on arrival, post it again behind the host's events
        bool m_isDeliverable = false; // busy without an event: one would arrive if the job runs an event loop
        int m_runs = 0;               // more than one if a job runs an event loop
        int m_waits = 0;              // more than one if a waiting thread runs a task that waits
        unsigned m_notifiedAt = 0;    // the tick of the last change of m_state
        Worker* m_nextNotified = nullptr;
        typename Platform::Count m_posts{0};
    };

    /// The workers that a section has notified. The caller must post their events: the scheduler counts on
    /// each.
    class [[nodiscard]] Notifications
    {
    public:
        /// Calls \p postEvent for each worker. Call it with no lock held.
        template <typename Function>
        void post(Function postEvent)
        {
            while (m_first != nullptr) {
                Worker& worker = *m_first;
                m_first = std::exchange(worker.m_nextNotified, nullptr);
                postEvent(worker);
                worker.m_posts.fetch_sub(1); // the worker may be gone after this
            }
        }

        /// Whether the caller must have \ref TaskScheduler::relieveLate called once a tick from now on.
        bool isWatchDue = false;

    private:
        friend class TaskScheduler;
        Worker* m_first = nullptr;
    };

    void addWorker(Worker& worker)
    {
        const Lock lock(m_mutex);
        m_workers.push_back(&worker);
        m_workerCount = std::max(m_workerCount, static_cast<int>(m_workers.size()));
    }

    /// Sets how many workers there are or will be. Those that have yet to be added count as not waiting, so
    /// that \ref add keeps jobs for them.
    void setWorkerCount(int count)
    {
        const Lock lock(m_mutex);
        m_workerCount = count;
    }

    int workerCount() const
    {
        const Lock lock(m_mutex);
        return m_workerCount;
    }

    /// Forgets a worker whose thread will not enter its event loop, or not again.
    void removeWorker(Worker& worker)
    {
        const Lock lock(m_mutex);
        worker.m_hasStarted = false;
        update(worker);
        m_workers.erase(std::remove(m_workers.begin(), m_workers.end(), &worker), m_workers.end());
    }

    /// Appends \p job and leaves it empty. While every worker waits, nobody would run it: then \p job is left
    /// as it is, unless \p evenIfAllWait.
    Notifications add(Job& job, bool evenIfAllWait = false)
    {
        const Lock lock(m_mutex);
        if (!evenIfAllWait && doAllWait())
            return {};
        m_jobs.push(std::move(job));
        return settle();
    }

    /// Appends \p job and notifies nobody: for the GUI queue, whose worker is posted an event for each job.
    /// \return the number of the job, and how many are pending.
    std::pair<Number, std::size_t> append(Job& job)
    {
        const Lock lock(m_mutex);
        const Number number = m_jobs.push(std::move(job));
        return {number, m_jobs.count()};
    }

    /// The worker's thread is about to enter its event loop.
    Notifications start(Worker& worker)
    {
        return change(worker, [&] { worker.m_hasStarted = true; });
    }

    /// The worker's event has arrived. Takes the oldest job into \p job, which must be empty. The worker is
    /// busy from then on, unless \p job comes back empty.
    Notifications arrive(Worker& worker, Job& job)
    {
        const Lock lock(m_mutex);
        worker.m_hasEvent = worker.m_isLate = false;
        if (std::exchange(worker.m_isEventOld, false))
            return postAgain(worker);
        ++worker.m_runs;
        return takeNextLocked(worker, job);
    }

    /// The worker has run its job. Takes the next one into \p job, which must be empty; if it comes back
    /// empty, the worker is not busy any more.
    Notifications takeNext(Worker& worker, Job& job)
    {
        const Lock lock(m_mutex);
        return takeNextLocked(worker, job);
    }

    /// The worker stops taking jobs, to let its thread serve the host's events. If a job is pending, an event
    /// brings the worker back behind those.
    Notifications leave(Worker& worker)
    {
        const Lock lock(m_mutex);
        endRun(worker);
        return worker.m_hasEvent ? change(worker) : postAgain(worker);
    }

    /// Qt has dropped the worker's event, as it does while no application object exists.
    Notifications loseEvent(Worker& worker)
    {
        return change(worker, [&] { worker.m_hasEvent = worker.m_isLate = worker.m_isEventOld = false; });
    }

    /// The worker's thread begins to wait for a task. It does not count as notified any more, so another
    /// worker is notified in its place.
    Notifications beginWait(Worker& worker)
    {
        return change(worker, [&] { ++worker.m_waits; });
    }

    Notifications endWait(Worker& worker)
    {
        return change(worker, [&] { --worker.m_waits; });
    }

    /// Whether jobs are pending and every worker waits.
    bool isStarved() const
    {
        const Lock lock(m_mutex);
        return m_jobs.count() > 0 && doAllWait();
    }

    /// Takes all jobs if every worker waits, or if \p evenIfNotAllWait; else none. Asking and taking is one
    /// section, so a worker that stops waiting meanwhile either keeps all jobs or none.
    Jobs takeAll(bool evenIfNotAllWait)
    {
        const Lock lock(m_mutex);
        return evenIfNotAllWait || doAllWait() ? std::exchange(m_jobs, Jobs()) : Jobs();
    }

    /// Takes the oldest job into \p job, which must be empty, unless its number is higher than \p limit.
    /// \return the number of the next, and how many are pending.
    std::pair<Number, std::size_t> take(Job& job, Number limit)
    {
        const Lock lock(m_mutex);
        const Number next = m_jobs.pop(job, limit);
        return {next, m_jobs.count()};
    }

    /// The number of the job that was added last.
    Number newest() const
    {
        const Lock lock(m_mutex);
        return m_jobs.newest();
    }

    /// Takes the oldest job for which \p isMeant holds into \p job, wherever it stands.
    template <typename Predicate>
    void remove(Predicate isMeant, Job& job)
    {
        const Lock lock(m_mutex);
        m_jobs.remove(isMeant, job);
    }

    template <typename Function>
    void forEachPending(Function function) const
    {
        const Lock lock(m_mutex);
        m_jobs.forEach(function);
    }

    /// `Platform::isOpen()` holds again: notifies a worker of the jobs that were kept meanwhile.
    Notifications resume()
    {
        const Lock lock(m_mutex);
        return settle();
    }

    std::size_t pendingCount() const
    {
        const Lock lock(m_mutex);
        return m_jobs.count();
    }

    bool isBusy(const Worker& worker) const
    {
        const Lock lock(m_mutex);
        return worker.m_runs > 0;
    }

    bool hasEvent(const Worker& worker) const
    {
        const Lock lock(m_mutex);
        return worker.m_hasEvent;
    }

    /// A tick has passed. A worker that was notified before the previous tick and has not come counts as
    /// late. All idle workers are notified in its place, not one: the host may hold up any of them too. Sets
    /// \p isWatched to whether ticks are needed any longer.
    Notifications relieveLate(bool& isWatched)
    {
        const Lock lock(m_mutex);
        ++m_ticks;
        bool isAnyLate = false;
        for (Worker* worker : m_workers) {
            if (worker->m_state != State::Notified || m_ticks - worker->m_notifiedAt < 2)
                continue;
            worker->m_isLate = isAnyLate = true;
            update(*worker);
        }
        Notifications out;
        while (isAnyLate && m_jobs.count() > 0 && !m_idle.empty() && Platform::isOpen())
            notify(*m_idle.back(), out);
        out = settle(out);
        m_quietTicks = isWatchNeeded() ? 0 : m_quietTicks + 1;
        m_isWatched = isWatched = m_quietTicks <= longestQuiet;
        return out;
    }

private:
    using Lock = std::lock_guard<typename Platform::Mutex>;

    // Ticks for which the watch goes on without need. Bursts need it again and again, and asking for it takes
    // the watchdog's lock.
    static constexpr unsigned longestQuiet = 50;

    bool doAllWait() const { return m_waitingCount == m_workerCount; }
    bool isWatchNeeded() const { return m_notifiedCount > 0 && m_idleCount > 0 && m_jobs.count() > 0; }

    template <typename Function>
    Notifications change(Worker& worker, Function function)
    {
        const Lock lock(m_mutex);
        function();
        return change(worker);
    }

    Notifications change(Worker& worker)
    {
        update(worker);
        return settle();
    }

    // If an event was posted while the worker was busy, it stands before events that the host has posted
    // since. On arrival it is posted again, behind them: the worker has just had its turn.
    void endRun(Worker& worker)
    {
        --worker.m_runs;
        worker.m_isEventOld = worker.m_runs == 0 && worker.m_hasEvent;
    }

    Notifications postAgain(Worker& worker)
    {
        Notifications out;
        if (m_jobs.count() > 0 && Platform::isOpen())
            notify(worker, out);
        update(worker);
        return settle(out);
    }

    // Taking the job and becoming idle is one section: a job that is added afterwards finds the worker idle.
    Notifications takeNextLocked(Worker& worker, Job& job)
    {
        m_jobs.pop(job);
        if (!job)
            endRun(worker);
        return change(worker);
    }

    // Sees to it that somebody will run what is pending.
    Notifications settle(Notifications out = {})
    {
        if (m_jobs.count() == 0 || !Platform::isOpen())
            return out;
        // One at a time, however many jobs are pending: a worker that takes a job settles too, and notifies
        // the next.
        if (m_notifiedCount == 0 && m_idleCount > 0)
            notify(*m_idle.back(), out);
        // Nobody is idle: notify the busy workers, all of them, since any of their jobs may run an event loop
        // in which the event arrives. Where it does not, it stays until the worker's turn ends.
        if (m_idleCount == 0 && m_deliverableCount > 0)
            for (Worker* worker : m_workers)
                if (worker->m_isDeliverable)
                    notify(*worker, out);
        if (!m_isWatched && isWatchNeeded()) {
            m_isWatched = out.isWatchDue = true;
            m_quietTicks = 0;
        }
        return out;
    }

    void notify(Worker& worker, Notifications& out)
    {
        worker.m_hasEvent = true;
        worker.m_posts.fetch_add(1);
        worker.m_nextNotified = std::exchange(out.m_first, &worker);
        update(worker);
    }

    // Brings counts and lists in line with the worker's flags. Follows each change of them, in the same
    // section.
    void update(Worker& worker)
    {
        const State state = worker.current();
        const bool isDeliverable = state == State::Busy && !worker.m_hasEvent;
        m_deliverableCount += (isDeliverable ? 1 : 0) - (worker.m_isDeliverable ? 1 : 0);
        worker.m_isDeliverable = isDeliverable;
        if (state == worker.m_state)
            return;
        count(worker.m_state, -1);
        if (worker.m_state == State::Idle)
            m_idle.erase(std::find(m_idle.begin(), m_idle.end(), &worker));
        worker.m_state = state;
        count(state, 1);
        if (state == State::Idle)
            m_idle.push_back(&worker);
        worker.m_notifiedAt = m_ticks;
    }

    void count(State state, int change)
    {
        if (state == State::Notified)
            m_notifiedCount += change;
        if (state == State::Waiting)
            m_waitingCount += change;
        if (state == State::Idle)
            m_idleCount += change;
    }

    // Guards all that follows. Threads contend for it, so what most sections touch lies in its cache line or
    // the next.
    alignas(64) mutable typename Platform::Mutex m_mutex;
    int m_workerCount = 0;
    int m_idleCount = 0;
    int m_notifiedCount = 0;
    int m_waitingCount = 0;
    int m_deliverableCount = 0;
    bool m_isWatched = false;
    Jobs m_jobs;
    std::vector<Worker*> m_workers;
    std::vector<Worker*> m_idle; // the last to become idle is notified first: it may not be asleep yet
    unsigned m_ticks = 0;
    unsigned m_quietTicks = 0;
};

} // namespace Brennic::Core
