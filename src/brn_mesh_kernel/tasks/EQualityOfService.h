#pragma once
/// \file
/// The service classes of task queues: where the workers of a queue run, and at what priority.
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
