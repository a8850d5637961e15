#pragma once
/// \file
/// The table of the library's own queues, one for each service class. Not installed.
///
/// Threads: `find` may be called from any thread at any time. The others are for the library's entry point
/// (kernel/LibraryEntry.cpp), which makes the queues when the library is loaded.

#include <brn_mesh_kernel/tasks/EQualityOfService.h>

namespace Brennic::Core {

class TaskQueue;

class GlobalQueues
{
public:
    /// Makes the five queues. The calling thread is taken for the GUI thread from then on.
    static void initGlobalQueues();

    /// Empties the table. A queue that neither a task nor a caller holds is destroyed.
    static void clearGlobalQueues();

    /// Lets \ref find return null from now on, but destroys nothing: for the end of the process, when other
    /// threads may still be using the queues.
    static void hideGlobalQueues();

    /// Returns null if the table has no queue for the class.
    static TaskQueue* find(EQualityOfService qos);
};

} // namespace Brennic::Core
