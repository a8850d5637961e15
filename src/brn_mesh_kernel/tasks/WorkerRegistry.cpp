#include <brn_mesh_kernel/tasks/WorkerRegistry.h>

#include <algorithm>
#include <utility>

#include <QThread>

#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>

namespace Brennic::Core {

namespace {

constexpr std::size_t longestThreadName = 15;

std::string className(EQualityOfService qos)
{
    switch (qos) {
    case eQOS_High:
        return "brnHigh";
    case eQOS_Low:
        return "brnLow";
    case eQOS_Background:
        return "brnBackground";
    default:
        return "brnNormal";
    }
}

} // namespace

std::string workerThreadName(EQualityOfService qos, int number)
{
    const std::string suffix = "-" + std::to_string(number);
    return className(qos).substr(0, longestThreadName - suffix.size()) + suffix;
}

WorkerRegistry& WorkerRegistry::instance()
{
    static WorkerRegistry* const registry = new WorkerRegistry;
    return *registry;
}

int WorkerRegistry::add(TaskWorker& worker, EQualityOfService qos)
{
    deleteFinishedThreads();
    const std::lock_guard<std::mutex> lock(m_mutex);
    const int number = freeNumberLocked(qos);
    m_entries.push_back({&worker, qos, number});
    return number;
}

void WorkerRegistry::remove(const TaskWorker& worker)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto isWorker = [&worker](const Entry& entry) { return entry.worker == &worker; };
    m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(), isWorker), m_entries.end());
}

int WorkerRegistry::freeNumberLocked(EQualityOfService qos) const
{
    std::vector<bool> isTaken(m_entries.size() + 2);
    for (const Entry& entry : m_entries)
        if (entry.qos == qos && static_cast<std::size_t>(entry.number) < isTaken.size())
            isTaken[static_cast<std::size_t>(entry.number)] = true;
    return static_cast<int>(std::find(isTaken.begin() + 1, isTaken.end(), false) - isTaken.begin());
}

void WorkerRegistry::takeOver(QThread* thread)
{
    // Before this thread's own object is listed: no two threads wait for each other.
    deleteFinishedThreads();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_finishedThreads.push_back(thread);
}

void WorkerRegistry::deleteFinishedThreads()
{
    std::vector<QThread*> threads;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        threads.swap(m_finishedThreads);
    }
    for (QThread* thread : threads)
        delete thread; // waits for the thread's last steps
}

void WorkerRegistry::wakeAll()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const Entry& entry : m_entries)
        entry.worker->wake();
}

void WorkerRegistry::wakeWaiters()
{
    // Released after the lock: the last holder of a task may end a queue with its workers.
    std::vector<std::shared_ptr<Task>> tasks;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const Entry& entry : m_entries)
            entry.worker->collectPendingTasks(tasks);
    }
    for (const std::shared_ptr<Task>& task : tasks)
        TaskWorker::wakeWaitersOf(*task);
}

bool WorkerRegistry::areAllAtRest()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::all_of(m_entries.begin(), m_entries.end(),
                       [](const Entry& entry) { return entry.worker->isAtRest(); });
}

bool WorkerRegistry::isAnyComingOrGoing()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [](const Entry& entry) { return entry.worker->isComingOrGoing(); }) ||
           std::any_of(m_finishedThreads.begin(), m_finishedThreads.end(),
                       [](QThread* thread) { return !thread->wait(0); });
}

std::size_t WorkerRegistry::size()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_entries.size();
}

} // namespace Brennic::Core
