#pragma once
/// \file
/// The table of the library's own queues, one for each service class. Not installed.
///
/// Threads: `find` may be called from any thread at any time; the others are for the library's entry point.

#include <brn_mesh_kernel/tasks/EQualityOfService.h>

namespace Brennic::Core {

class TaskQueue;

class GlobalQueues
{
public:
    /// Makes the five queues. The calling thread becomes the GUI thread.
    static void initGlobalQueues();

    /// Empties the table. A queue that no task or caller holds ends.
    static void clearGlobalQueues();

    /// Lets nobody find the queues any more, but leaves them and their workers alone: for the end of the
    /// process, when other threads may still be using them.
    static void hideGlobalQueues();

    /// Returns null if the table has no queue for the class.
    static TaskQueue* find(EQualityOfService qos);
};

} // namespace Brennic::Core
