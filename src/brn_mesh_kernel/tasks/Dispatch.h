#pragma once
/// \file
/// Runs a callable on one of the library's queues, in one call.
///
///     using namespace Brennic::Core;
///     dispatchAsync([mesh] { smooth(*mesh); }, eQOS_Normal); // returns at once
///     dispatchSync([&] { window.setTitle(title); }, eQOS_GUI); // returns once the GUI thread has run it
///
/// Threads: both functions may be called from any thread, also from inside a task: a task that waits does
/// not keep others from running. An exception that leaves the callable reaches the host's
/// `QCoreApplication::notify` in the thread that runs it, and ends the process where nobody catches it; a callable for
/// the GUI class that is dispatched in the GUI thread runs at once, so its exception comes out of the call.
///
/// Nothing is copied back: a callable that has a result captures where to put it.

#include <functional>

#include <brn_mesh_kernel/library/Export.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>

namespace Brennic::Core {

/// Hands a copy of \p function to the library's queue of the class \p qos and returns.
///
/// While no `QCoreApplication` exists the task is kept; it runs once there is one.
/// \return `true` if the queue has it; `false`, with nothing queued or logged, if \p function is empty, if
///         \p qos is no service class, or once the library ends with the process.
/// Thread: any. Never blocks, but for `eQOS_GUI` in the GUI thread \p function runs inside the call.
BRN_MESH_KERNEL_EXPORT bool dispatchAsync(const std::function<void()>& function, EQualityOfService qos);

/// The same, and takes the callable instead of copying it.
BRN_MESH_KERNEL_EXPORT bool dispatchAsync(std::function<void()>&& function, EQualityOfService qos);

/// The same, and waits until \p function has returned.
///
/// While no worker can run it because the application object has gone, \p function runs in the calling
/// thread; one for the GUI thread is refused then.
/// \return `true` once \p function has returned; `false`, with nothing queued, run or logged, in the cases of
///         \ref dispatchAsync, and for `eQOS_GUI` from another thread once the application object has gone, also if
///         that happens during the wait.
/// Thread: any; blocks until \p function has returned, without limit.
BRN_MESH_KERNEL_EXPORT bool dispatchSync(const std::function<void()>& function, EQualityOfService qos);

} // namespace Brennic::Core
