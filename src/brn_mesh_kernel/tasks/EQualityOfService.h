#pragma once
/// \file
/// The service classes of task queues: the threads in which a queue's workers run, and their priority.
///
/// On Linux `eQOS_Background` alone changes how threads are scheduled (docs/threads.md).
///
///     Brennic::Core::dispatchAsync([] { rebuildIndex(); }, Brennic::Core::eQOS_Background);

#include <cstdint>

namespace Brennic::Core {

/// The service class of a queue.
enum EQualityOfService : std::int32_t
{
    /// One worker in the thread that loaded the library, which is taken to be the GUI thread. That thread
    /// runs at `QThread::HighestPriority`.
    eQOS_GUI = 0,
    /// Threads at `QThread::HighPriority`.
    eQOS_High = 1,
    /// Threads at `QThread::NormalPriority`.
    eQOS_Normal = 2,
    /// Threads at `QThread::LowPriority`.
    eQOS_Low = 3,
    /// Threads at `QThread::IdlePriority`.
    eQOS_Background = 4,
};

} // namespace Brennic::Core
