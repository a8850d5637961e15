#pragma once
/// \file
/// Starts and ends the threads of all workers, and holds them while there is no application object. Not
/// installed.
///
/// Qt drops the events of a thread while no `QCoreApplication` exists, and complains about an event loop that
/// starts then. So the workers' threads are held (\ref hold) before the first application object, between two
/// and after the last; jobs stay pending. The destructor of the application object waits for threads that use
/// it (\ref ApplicationUse). docs/threads.md has the phases.
///
/// One mutex orders all that; under it nothing is locked but the mutex of a scheduler.
///
/// Threads: every function may be called from any thread. Nothing here is ever destroyed, because threads may
/// still be held while the process ends.

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <brn_mesh_kernel/tasks/EQualityOfService.h>

class QThread;

namespace Brennic::Core {

class TaskWorker;
struct TaskQueueCore;

namespace WorkerThreads {

/// Watches application objects come and go from now on. The calling thread is taken for the one that makes
/// them.
void watchApplication();

/// Whether an application object exists, so that events are delivered.
bool areEventsDelivered();

/// Whether the library has ended with the process: workers run nothing any more.
bool haveEnded();

/// Whether the GUI thread will run nothing for the calling thread: the application object has gone, or the
/// process ends.
bool isGuiThreadOutOfReach();

/// Whether no worker will run a job as long as the calling thread waits: the application object has gone, or
/// the calling thread is the one that has yet to make it.
bool areOutOfReach();

/// Keeps the application object from being destroyed while it lives: the destructor of that waits. For
/// whoever is about to touch it, or to have Qt touch it, as when an object is moved to another thread.
class ApplicationUse
{
public:
    ApplicationUse();
    ~ApplicationUse();
    ApplicationUse(const ApplicationUse&) = delete;
    ApplicationUse& operator=(const ApplicationUse&) = delete;

    /// Whether there is one.
    explicit operator bool() const { return m_isThere; }

private:
    bool m_isThere;
};

/// Makes the workers of a queue and starts their threads; fewer than \p count if the system has no threads
/// for more. The scheduler knows at once how many there are or will be.
///
/// Starting a thread has Qt touch the application object, which would race with its constructor. So without
/// an application object, and in another thread than the one that makes it, the workers are made as soon as
/// there is one.
void makeWorkers(const std::shared_ptr<TaskQueueCore>& core, int count);

/// Lets the workers of a queue that is being destroyed end. They delete themselves.
void retireWorkers(TaskQueueCore& core);

/// What the workers serve, once for each of them. Thread: any.
std::vector<std::shared_ptr<TaskQueueCore>> cores();

/// Lists a worker, so that it is held and resumed with the others, under the lowest number that no other of
/// its class has.
/// \return its number, from 1.
int add(TaskWorker& worker, EQualityOfService qos);
void remove(const TaskWorker& worker);
/// The number of workers that are listed, of all queues.
std::size_t count();

/// Blocks the worker's thread until there is an application object, or the worker's queue has gone. Once the
/// process ends, blocks for ever.
void hold(TaskWorker& worker);

/// Takes over the `QThread` of a thread that is about to end. Called in that thread, as its last act here. A
/// thread cannot delete its own object, and the thread that made it may have no event loop or have ended. So
/// the object is deleted when the next worker starts or ends.
void takeOver(QThread* thread);

/// The process ends: workers complete the job that they are in, and then stop where they are. Returns when no
/// worker's thread is starting or ending, or after two seconds: those are in Qt's hands, whose static objects
/// are about to go.
void end();

/// The process ends, and there is no other thread any more.
void endAlone();

/// The name of a worker's thread, such as `brnNormal-2`. At most 15 bytes, which is what Linux shows; of a
/// long name the class is cut, never the number.
std::string name(EQualityOfService qos, int number);

} // namespace WorkerThreads
} // namespace Brennic::Core
