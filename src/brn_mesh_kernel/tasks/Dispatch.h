#pragma once
/// \file
/// Runs a callable on one of the library's queues, in one call.
///
///     using namespace Brennic::Core;
///     dispatchAsync([mesh] { smooth(*mesh); }, eQOS_Normal); // returns at once
///     dispatchSync([&] { window.setTitle(title); }, eQOS_GUI); // returns once the GUI thread has run it
///
/// Threads: both functions may be called from any thread, also inside a task: a task that waits does not keep
/// others from running.
///
/// An exception that leaves the callable reaches the host's `QCoreApplication::notify` in the thread that
/// runs it. If nobody but Qt would catch it, the process ends where it was thrown. A callable for `eQOS_GUI`
/// that is dispatched in the GUI thread runs at once, so its exception leaves the call.
///
/// Nothing is returned from the callable: it captures where to put a result, or is given to `dispatch`
/// (DispatchFuture.h), which has a future for it.
///
/// docs/architecture.md follows one callable from here to its end.

#include <functional>

#include <brn_mesh_kernel/library/Export.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>

namespace Brennic::Core {

/// Queues a copy of \p function for the class \p qos and returns.
///
/// While no `QCoreApplication` exists the callable stays pending; it runs once there is one.
/// \return `true` if it was queued, or has run inside the call; `false`, with nothing queued or logged, if
///         \p function is empty, if \p qos is no service class, or once the library ends with the process.
/// Thread: any. Does not wait for \p function, except for `eQOS_GUI` in the GUI thread: there it runs inside
/// the call, ahead of what is pending.
BRN_MESH_KERNEL_EXPORT bool dispatchAsync(const std::function<void()>& function, EQualityOfService qos);

/// The same, but moves the callable instead of copying it.
BRN_MESH_KERNEL_EXPORT bool dispatchAsync(std::function<void()>&& function, EQualityOfService qos);

/// The same, and waits until \p function has returned.
///
/// Once the application object has gone no worker can run it: \p function runs in the calling thread then,
/// and is refused if it is for the GUI thread.
/// \return `true` once \p function has returned; `false`, with nothing queued, run or logged, in the cases of
///         \ref dispatchAsync, and for `eQOS_GUI` from another thread once the application object has gone,
///         also if that happens during the wait. `false` too, and a warning is logged, if the wait cannot end,
///         as when the thread that is to run \p function waits for a task that waits here; \p function never
///         runs then. docs/tasks.md says which waits are found.
/// Thread: any; blocks until \p function has returned, without limit.
BRN_MESH_KERNEL_EXPORT bool dispatchSync(const std::function<void()>& function, EQualityOfService qos);

} // namespace Brennic::Core
