#pragma once
/// \file
/// Knows every worker of the process, and deletes the thread objects that workers leave. Not installed.
///
/// Threads: every function may be called from any thread.

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <brn_mesh_kernel/tasks/EQualityOfService.h>

class QThread;

namespace Brennic::Core {

class TaskWorker;

class WorkerRegistry
{
public:
    /// Never destroyed: worker threads may outlive the objects with static storage.
    static WorkerRegistry& instance();

    WorkerRegistry(const WorkerRegistry&) = delete;
    WorkerRegistry& operator=(const WorkerRegistry&) = delete;

    /// Enters a worker under the lowest number that no other worker of its class has.
    /// \return the number, from 1.
    int add(TaskWorker& worker, EQualityOfService qos);

    /// Strikes a worker off.
    void remove(const TaskWorker& worker);

    /// Takes over the object of a thread that is about to end. Called in that thread, as its last act here.
    ///
    /// A thread cannot delete its own object, and the thread that made it may have no event loop or be gone:
    /// the object is deleted when the next worker starts or ends.
    void takeOver(QThread* thread);

    /// Sends an event to every worker for which there may be something to do.
    void wakeAll();

    /// Lets the waits for pending tasks look again at who is to run the task.
    void wakeWaiters();

    /// Whether no worker's event loop will deliver anything before the gate opens.
    bool areAllAtRest();

    /// Whether a worker's thread is starting or ending.
    bool isAnyComingOrGoing();

    /// The number of workers.
    std::size_t size();

private:
    struct Entry
    {
        TaskWorker* worker;
        EQualityOfService qos;
        int number;
    };

    WorkerRegistry() = default;

    int freeNumberLocked(EQualityOfService qos) const;
    void deleteFinishedThreads();

    std::mutex m_mutex;
    std::vector<Entry> m_entries;            // guarded by m_mutex
    std::vector<QThread*> m_finishedThreads; // guarded by m_mutex
};

/// The name of a worker's thread, such as `brnNormal-2`. At most 15 bytes, which is what Linux shows; of a
/// long name the class is cut, never the number.
std::string workerThreadName(EQualityOfService qos, int number);

} // namespace Brennic::Core
