#include <brn_mesh_kernel/tasks/TaskGroup.h>

#include <atomic>
#include <exception>
#include <list>
#include <mutex>
#include <utility>
#include <vector>

#include <QtGlobal>

#include <brn_mesh_kernel/tasks/SynchronousDispatch.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

namespace Brennic::Core {

// A callable is on the list from before its task is added until nothing of it is left. Whoever takes it, a
// worker or cancel(), sees to it that it leaves the list.
class Q_DECL_HIDDEN TaskGroup::State : public std::enable_shared_from_this<State>
{
public:
    explicit State(std::shared_ptr<TaskQueue> queue) : m_queue(std::move(queue)), m_isCancelled(!m_queue) {}

    bool isCancelled() const { return m_isCancelled; }

    void dispatch(std::function<void()> function)
    {
        const auto entry = std::make_shared<Entry>();
        entry->function = std::move(function);
        const auto task = std::make_shared<Task>([self = shared_from_this(), entry] { self->run(entry); });
        if (m_queue) // before it is on the list, where others find it
            SynchronousDispatch::announce(*task, m_queue);
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_isCancelled)
                return;
            entry->place = m_entries.insert(m_entries.end(), entry);
            entry->task = task;
        }
        try {
            SynchronousDispatch::add(*m_queue, task);
        } catch (...) { // no memory, or a slot that the queue calls
            takeBack(*entry);
            throw;
        }
    }

    void wait()
    {
        for (;;) {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (m_entries.empty())
                return;
            const std::shared_ptr<Entry> entry = m_entries.front();
            const std::shared_ptr<Task> task = entry->task;
            ++entry->waiters;
            lock.unlock();
            if (!SynchronousDispatch::wait(*task, m_queue->getQOS() == eQOS_GUI))
                cancel(); // it was taken back: by cancel(), or because nobody can run it
            lock.lock();
            --entry->waiters;
        }
    }

    void cancel()
    {
        std::vector<std::shared_ptr<Entry>> taken;
        std::vector<std::shared_ptr<Task>> awaited;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_isCancelled = true;
            for (const std::shared_ptr<Entry>& entry : m_entries)
                if (!std::exchange(entry->isTaken, true))
                    taken.push_back(entry);
        }
        for (const std::shared_ptr<Entry>& entry : taken) {
            entry->function = nullptr;
            if (const std::shared_ptr<Task> task = end(*entry))
                awaited.push_back(task);
        }
        // The tasks stay in the queue, or are still on their way there, and will find nothing to do.
        for (const std::shared_ptr<Task>& task : awaited)
            SynchronousDispatch::endWaits(*task);
    }

    std::exception_ptr takeFailure()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_failure, nullptr);
    }

private:
    struct Entry
    {
        std::function<void()> function; // of whoever has taken it
        // The group's mutex guards what follows.
        std::shared_ptr<Task> task; // holds the entry: end() unties the two
        std::list<std::shared_ptr<Entry>>::iterator place;
        bool isTaken = false;
        int waiters = 0;
    };

    void run(const std::shared_ptr<Entry>& entry)
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (std::exchange(entry->isTaken, true))
                return;
        }
        try {
            entry->function();
        } catch (...) {
            fail(std::current_exception());
        }
        entry->function = nullptr;
        end(*entry);
    }

    void fail(std::exception_ptr exception)
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (std::exchange(m_hasFailed, true))
                return;
            m_failure = std::move(exception);
        }
        cancel();
    }

    // Nobody may be going to take the entry. Its task finds nothing to do if it is pending nevertheless.
    void takeBack(Entry& entry)
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (std::exchange(entry.isTaken, true))
                return;
        }
        entry.function = nullptr;
        if (const std::shared_ptr<Task> task = end(entry))
            SynchronousDispatch::endWaits(*task);
    }

    // Nothing of the callable is left. Returns its task if a thread waits for that.
    std::shared_ptr<Task> end(Entry& entry)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_entries.erase(entry.place);
        std::shared_ptr<Task> task = std::move(entry.task);
        return entry.waiters > 0 ? task : nullptr;
    }

    const std::shared_ptr<TaskQueue> m_queue;
    std::mutex m_mutex;
    std::list<std::shared_ptr<Entry>> m_entries; // m_mutex guards this and the next two
    std::exception_ptr m_failure;
    bool m_hasFailed = false;
    std::atomic<bool> m_isCancelled; // changed under m_mutex, read without
};

namespace {

std::shared_ptr<TaskQueue> share(TaskQueue* queue)
{
    return queue != nullptr ? queue->shared_from_this() : nullptr;
}

} // namespace

TaskGroup::TaskGroup(EQualityOfService qos)
    : m_state(std::make_shared<State>(share(TaskQueue::getGlobalQueue(qos))))
{
}

TaskGroup::TaskGroup(TaskQueue& queue) : m_state(std::make_shared<State>(share(&queue))) {}

TaskGroup::~TaskGroup()
{
    m_state->cancel();
    m_state->wait();
}

void TaskGroup::dispatch(std::function<void()> function)
{
    if (function)
        m_state->dispatch(std::move(function));
}

void TaskGroup::wait()
{
    m_state->wait();
    if (const std::exception_ptr failure = m_state->takeFailure())
        std::rethrow_exception(failure);
}

void TaskGroup::cancel()
{
    m_state->cancel();
}

bool TaskGroup::isCancelled() const
{
    return m_state->isCancelled();
}

} // namespace Brennic::Core
