#pragma once
/// \file
/// Decides which worker of a queue runs the next job, and which workers to notify. Not installed.
///
/// One mutex guards the pending jobs and the state of every worker. Each operation is one section under it, and
/// ends by settling: if a job is pending, a worker is idle and no notified worker is about to look, then one idle
/// worker is notified. A worker becomes idle only in the section in which it found nothing pending, and a job is
/// added in the section that picks the worker: so no wake-up is lost, and nothing needs atomics. The caller posts
/// the events of a section after it.
///
/// The class knows neither Qt nor threads: what it needs of them comes with \p Platform, so that a model checker
/// runs the code that ships. Threads: every function may be called from any thread.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <mutex>
#include <utility>
#include <vector>

namespace Brennic::Core {

/// Jobs in the order of arrival, numbered from 1. A job that is empty (`!job`) has been taken.
template <typename Job>
class PendingJobs
{
public:
    using Number = std::uint64_t;
    static constexpr Number last = std::numeric_limits<Number>::max();

    std::size_t count() const { return m_count; }
    Number newest() const { return m_first + m_jobs.size() - 1; }

    Number push(Job&& job)
    {
        m_jobs.push_back(std::move(job));
        job = Job();
        ++m_count;
        return newest();
    }

    /// Takes the oldest job into \p job, unless its number is higher than \p limit.
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

/// \p Platform has the types `Mutex` and `Count` (an atomic int), and `bool isOpen()`: whether events are delivered.
template <typename Platform, typename Job>
class TaskScheduler
{
public:
    using Jobs = PendingJobs<Job>;
    using Number = typename Jobs::Number;

    /// What a worker's thread does, as far as the queue can know: the first line that applies.
    enum class State
    {
        Waiting,  ///< It waits for a task of the queue's family.
        Busy,     ///< It runs a job, which may run an event loop.
        Starting, ///< It has yet to enter its event loop.
        Idle,     ///< No event is on its way to it.
        Late,     ///< An event is on its way for longer than one takes: the thread is held up.
        Notified, ///< An event is on its way.
    };

    /// The scheduler's part of a worker.
    class Worker
    {
    public:
        Worker() = default;
        Worker(const Worker&) = delete;
        Worker& operator=(const Worker&) = delete;

        /// Whether somebody is posting an event to the worker at this moment.
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

        // All guarded by the scheduler's mutex, but for the last.
        State m_state = State::Starting; // what the counts of the scheduler say
        bool m_hasStarted = false;
        bool m_hasEvent = false;
        bool m_isLate = false;
        bool m_isEventOld = false;    // it is to be posted again, behind the host's events
        bool m_isDeliverable = false; // busy without an event: one would arrive if the job runs an event loop
        int m_runs = 0;               // more than one where a job runs an event loop
        int m_waits = 0;
        unsigned m_notifiedAt = 0; // tick
        Worker* m_nextNotified = nullptr;
        typename Platform::Count m_posts{0};
    };

    /// The workers that a section has notified. Their events must be posted.
    class [[nodiscard]] Notifications
    {
    public:
        /// Calls \p postEvent for each worker. No lock is held.
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

        /// Whether somebody must call \ref TaskScheduler::relieveLate from now on, once a tick.
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

    /// Says how many workers there are or will be: jobs are kept for those that have yet to be added.
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

    /// For one whose thread will not enter its event loop (again).
    void removeWorker(Worker& worker)
    {
        const Lock lock(m_mutex);
        worker.m_hasStarted = false;
        update(worker);
        m_workers.erase(std::remove(m_workers.begin(), m_workers.end(), &worker), m_workers.end());
    }

    /// Appends \p job, which is empty then. Refuses it while every worker waits, unless \p evenIfAllWait.
    Notifications add(Job& job, bool evenIfAllWait = false)
    {
        const Lock lock(m_mutex);
        if (!evenIfAllWait && doAllWait())
            return {};
        m_jobs.push(std::move(job));
        return settle();
    }

    /// The same for jobs that are fetched by \ref take; returns the number of the job and how many are pending.
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

    /// The worker's event has arrived: the worker is busy until \p job, the oldest, comes back empty.
    Notifications arrive(Worker& worker, Job& job)
    {
        const Lock lock(m_mutex);
        worker.m_hasEvent = worker.m_isLate = false;
        if (std::exchange(worker.m_isEventOld, false))
            return postAgain(worker);
        ++worker.m_runs;
        return takeNextLocked(worker, job);
    }

    /// The worker has run its job and takes the next; it is busy no more if that comes back empty.
    Notifications takeNext(Worker& worker, Job& job)
    {
        const Lock lock(m_mutex);
        return takeNextLocked(worker, job);
    }

    /// The worker lets its thread serve other events, and comes back by an event if something is pending.
    Notifications leave(Worker& worker)
    {
        const Lock lock(m_mutex);
        endRun(worker);
        return worker.m_hasEvent ? change(worker) : postAgain(worker);
    }

    /// The worker's event will not arrive: it has been dropped.
    Notifications loseEvent(Worker& worker)
    {
        return change(worker, [&] { worker.m_hasEvent = worker.m_isLate = worker.m_isEventOld = false; });
    }

    /// The worker's thread begins to wait for a task of the family. What it was notified of, others hear now.
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

    /// Takes all jobs; while some worker does not wait, only if \p evenIfNotAllWait.
    Jobs takeAll(bool evenIfNotAllWait)
    {
        const Lock lock(m_mutex);
        return evenIfNotAllWait || doAllWait() ? std::exchange(m_jobs, Jobs()) : Jobs();
    }

    /// Takes the oldest job with a number up to \p limit; returns the number of the next and how many are pending.
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

    /// Events are delivered again.
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

    /// A tick has passed. Gives up on workers that were notified before the last tick, and notifies all that are
    /// idle in their place: any of them may be held up too. Clears \p isWatched once that is no longer needed.
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

    static constexpr unsigned longestQuiet = 50; // ticks

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

    // An event that was posted while the worker was busy may stand before events of the host that came meanwhile.
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

    Notifications takeNextLocked(Worker& worker, Job& job)
    {
        m_jobs.pop(job);
        if (!job)
            endRun(worker);
        return change(worker);
    }

    Notifications settle(Notifications out = {})
    {
        if (m_jobs.count() == 0 || !Platform::isOpen())
            return out;
        if (m_notifiedCount == 0 && m_idleCount > 0)
            notify(*m_idle.back(), out);
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

    // Guards all that follows. What most sections touch lies in the cache line of the mutex, or next to it.
    alignas(64) mutable typename Platform::Mutex m_mutex;
    int m_workerCount = 0;
    int m_idleCount = 0;
    int m_notifiedCount = 0;
    int m_waitingCount = 0;
    int m_deliverableCount = 0;
    bool m_isWatched = false;
    Jobs m_jobs;
    std::vector<Worker*> m_workers;
    std::vector<Worker*> m_idle; // who became idle last is at the end, and is notified first
    unsigned m_ticks = 0;
    unsigned m_quietTicks = 0;
};

} // namespace Brennic::Core
