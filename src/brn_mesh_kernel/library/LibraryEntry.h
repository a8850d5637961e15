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

/// The process ends and has no other thread any more: each has been ended wherever it was, perhaps with a lock in
/// its hands. Nothing is found in the table any more, and no wait is entered.
void libraryLeftAlone();

/// Whether the process was forked from the one that loaded the library, whose threads it does not have.
bool isForkedChild();

/// Has the function called by exit(), in the thread that calls that and while the others still run: in reverse
/// order with what programs and libraries register for it.
void callAtExit(void (*function)());

} // namespace Brennic::Core
