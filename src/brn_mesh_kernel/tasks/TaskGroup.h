#pragma once
/// \file
/// Several callables that are waited for together.
///
///     Brennic::Core::TaskGroup group(Brennic::Core::eQOS_Normal);
///     for (Part& part : parts)
///         group.dispatch([&part] { smooth(part); });
///     group.wait(); // throws what a callable has thrown first
///
/// A group is cancelled by `cancel()`, and by the first exception that leaves a callable. Then what
/// no worker has taken yet never runs, and what is dispatched later is dropped. What runs goes on, and may ask
/// `isCancelled()`. A cancelled group stays so: make a new one for new work.
///
/// Threads: every operation may be called from any thread, also inside a task. Callables of a group may dispatch
/// to it, and cancel it; they do not wait for it, since they would wait for themselves.
///
/// Lifetime: the destructor cancels what is pending and waits for what runs, so a callable may use what lives
/// longer than the group. A group keeps its queue.

#include <functional>
#include <memory>

#include <brn_mesh_kernel/library/Export.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>

namespace Brennic::Core {

class TaskQueue;

/// Callables on one queue, which end together.
class BRN_MESH_KERNEL_EXPORT TaskGroup
{
public:
    /// Makes a group whose callables run on the library's queue of the class \p qos. It is cancelled from the
    /// start if \p qos is no service class, and once the library ends with the process. Nothing is logged.
    /// Thread: any.
    explicit TaskGroup(EQualityOfService qos);

    /// Makes a group whose callables run on \p queue.
    /// Thread: any. Ownership: the group shares the queue.
    explicit TaskGroup(TaskQueue& queue);

    /// Cancels what has not begun and waits for what runs, as after an exception between \ref dispatch and
    /// \ref wait. An exception of a callable that \ref wait has not thrown is dropped.
    /// Thread: any; blocks until no callable of the group runs.
    ~TaskGroup();

    TaskGroup(const TaskGroup&) = delete;
    TaskGroup& operator=(const TaskGroup&) = delete;

    /// Has the queue run \p function, once; an empty one is ignored, and so is every one if the group is
    /// cancelled.
    ///
    /// An exception that leaves \p function cancels the group and comes out of \ref wait; later ones are
    /// dropped. If the call itself throws, since there is no memory or by a slot that is connected to the queue,
    /// \p function is taken back, unless a worker has it already.
    /// Thread: any. Does not wait for \p function, except for `eQOS_GUI` in the GUI thread: there it runs
    /// inside the call, ahead of what is pending.
    void dispatch(std::function<void()> function);

    /// Waits until every callable has returned or thrown, or was taken back; those that are dispatched
    /// meanwhile too. What they hold has been released then.
    ///
    /// The rules of `Task::waitTillFinished` hold: a worker that waits for a group on its own queue makes room,
    /// and where no worker can run a callable, the caller does. Besides, the GUI thread runs the pending
    /// callables of a group for `eQOS_GUI`. The group is cancelled by a wait that cannot end, of which a
    /// warning is logged, and by one for the GUI thread once the application object has gone.
    ///
    /// Throws the first exception that has left a callable, once.
    /// Thread: any but that of a callable of the group; blocks until then.
    void wait();

    /// Takes back what no worker has taken yet. Its callables are destroyed in the calling thread.
    /// Thread: any.
    void cancel();

    /// Whether the group was cancelled, by \ref cancel or an exception.
    /// Thread: any.
    bool isCancelled() const;

private:
    class State;
    std::shared_ptr<State> m_state; // shared with the tasks
};

} // namespace Brennic::Core
