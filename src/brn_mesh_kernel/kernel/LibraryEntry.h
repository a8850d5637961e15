#pragma once
/// \file
/// What happens when the library comes into the process and when it leaves it. Not installed.

namespace Brennic::Core {

/// Makes the global queues, whose workers can leave a crash dump of a stack overflow. Called once, by the thread
/// that loads the library.
void libraryAttached();

/// Ends the service of the queues when the process ends: global queues are no longer found, and each worker
/// completes its task and then stops. Waits for no task and destroys nothing: any thread may call this, a worker
/// as well, while the others are still at work. A second call does nothing.
void libraryDetached();

/// The same after the system has terminated all other threads, some of them perhaps while they held a lock: takes no
/// lock and does not wait.
void libraryDetachedAfterThreads();

/// Whether the process was forked from the one that loaded the library. A forked child has none of its threads.
bool isForkedChild();

} // namespace Brennic::Core
