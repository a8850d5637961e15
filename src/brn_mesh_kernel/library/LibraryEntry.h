#pragma once
/// \file
/// What happens when the library comes into the process and when it leaves it. Not installed.

namespace Brennic::Core {

/// Makes the global queues. Called once, by the thread that loads the library.
void libraryAttached();

/// Ends the service of the queues, at the end of the process: nothing is found in the table any more, workers
/// complete the task that they are in and then stop. Nothing is waited for or destroyed, as the call may come
/// from any thread, also from a worker, while others are still at work. A second call does nothing.
void libraryDetached();

} // namespace Brennic::Core
