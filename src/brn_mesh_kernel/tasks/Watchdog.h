#pragma once
/// \file
/// A thread that looks after workers which do not come when they are notified, because their threads are held
/// up in the host's own event handlers. Not installed.
///
/// It ticks while a queue has something pending, a notified worker and an idle one, and a tenth of a second
/// longer; a second later it ends. What it does at a tick is up to \ref TaskScheduler::relieveLate.

#include <memory>

namespace Brennic::Core {

struct TaskQueueCore;

class Watchdog
{
public:
    /// Relieves the late workers of a queue once a tick, until its scheduler needs that no longer. Thread:
    /// any.
    static void watch(const std::shared_ptr<TaskQueueCore>& core);
};

} // namespace Brennic::Core
