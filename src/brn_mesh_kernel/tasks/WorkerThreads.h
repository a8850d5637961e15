#pragma once
/// \file
/// The threads of all workers, and when they may touch the application object. Not installed.
///
/// Qt drops the events of a thread while no `QCoreApplication` exists, and complains about an event loop that starts
/// then. So workers are held before the first application object and between two; jobs stay in their queues. One
/// mutex orders all that; under it nothing is locked but the mutex of a scheduler.
///
/// Threads: every function may be called from any thread. Nothing here is ever destroyed: threads may still be held
/// while the process ends.

#include <cstddef>
#include <string>

#include <brn_mesh_kernel/tasks/EQualityOfService.h>

class QThread;

namespace Brennic::Core {

class TaskWorker;

namespace WorkerThreads {

/// Starts to follow the making and the end of application objects. The calling thread is taken to make them.
void watchApplication();

/// Whether an application object exists, so that events are delivered.
bool areEventsDelivered();

/// Whether the library has ended with the process: workers run nothing any more.
bool haveEnded();

/// Whether `dispatchSync` could only wait in vain for the GUI thread: the application object has gone, or the library.
bool isGuiThreadOutOfReach();

/// Whether no worker will run a job as long as the calling thread waits: the application object has gone, or the
/// calling thread is the one that has yet to make it.
bool areOutOfReach();

/// Lists a worker, under the lowest number that no other of its class has. \return its number, from 1.
int add(TaskWorker& worker, EQualityOfService qos);
void remove(const TaskWorker& worker);
std::size_t count();

/// Starts the worker's thread; without an application object only in the thread that makes it. Otherwise the start
/// waits for the next one: Qt's part of it would race with the constructor of the application object.
/// \return false if the system has no thread for it.
bool start(TaskWorker& worker);

/// Lets a worker end, now that its queue has gone. It deletes itself.
void retire(TaskWorker& worker);

/// Blocks the worker's thread while there is no application object, until the worker's queue has gone; and for ever
/// once the library has ended.
void hold(TaskWorker& worker);

/// Takes over the object of a thread that is about to end. Called in that thread, as its last act here.
/// A thread cannot delete its own object, and the thread that made it may have no event loop or be gone: the object
/// is deleted when the next worker starts or ends.
void takeOver(QThread* thread);

/// The process ends: workers complete the job that they are in, and then stop where they are. Returns when no
/// worker's thread is starting or ending, or after two seconds: those are in Qt's hands, whose static objects are
/// about to go.
void end();

/// The process ends, and there is no other thread any more.
void endAlone();

/// The name of a worker's thread, such as `brnNormal-2`. At most 15 bytes, which is what Linux shows; of a long name
/// the class is cut, never the number.
std::string name(EQualityOfService qos, int number);

} // namespace WorkerThreads
} // namespace Brennic::Core
