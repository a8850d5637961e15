#pragma once
/// \file
/// Lets worker threads into their event loops while an application object exists, and holds them otherwise.
/// Not installed.
///
/// Qt drops the events of a thread while no `QCoreApplication` exists, and complains about an event loop
/// that starts then. So workers wait at the gate before the first application object and between two of
/// them; their announcements wait in their inboxes.
///
/// Threads: every function may be called from any thread. The state is never destroyed: threads may still
/// wait at the gate while the process ends.

class QThread;

namespace Brennic::Core {

class TaskWorker;

class ApplicationGate
{
public:
    /// Starts to follow the making and the end of application objects. The calling thread is taken to be the
    /// one that makes them.
    static void watch();

    /// Whether an application object exists.
    static bool isOpen();

    /// Whether the library has ended with the process: workers run nothing any more.
    static bool hasEnded();

    /// Whether the application object, or the library, has gone.
    static bool hasClosed();

    /// Whether the calling thread is the one that makes the application object.
    static bool isApplicationThread();

    /// Whether a wait in the calling thread could never end, because nobody is left to let the workers in:
    /// the application object has gone, or the calling thread is the one that has yet to make it.
    static bool isHopelessHere();

    /// Blocks the thread of \p worker until the gate is open or the worker's queue has gone, and for ever
    /// once the library has ended.
    static void hold(TaskWorker& worker);

    /// Looks again at the workers that are held, after a queue has gone.
    static void lookAgain();

    /// An application object has been made.
    static void open();

    /// The application object is about to go. Returns when the workers have come to rest, or after two seconds:
    /// each has nothing on its way, or is held, or is inside a task and will be held after it.
    static void close();

    /// The process ends: workers complete the task that they are in, and then stop where they are. Returns when
    /// no worker's thread is starting or ending, or after two seconds.
    static void end();

    /// The process ends, and there is no other thread any more.
    static void endAlone();
};

} // namespace Brennic::Core
