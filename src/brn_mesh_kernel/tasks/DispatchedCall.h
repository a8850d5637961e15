#pragma once
/// \file
/// What a queue runs for a future: the part of `dispatch` that does not depend on types. Hosts include
/// DispatchFuture.h, which derives from this class, and have no use for it themselves.
///
/// A call ends once, in one of three ways. Its callable has returned or thrown; or its future was cancelled
/// before its turn; or the call is given up, because nobody will run it: it was dropped, the application object
/// has gone, or the process ends. In each case the future is finished, which wakes whoever waits for it.
///
/// Threads: everything may be called from any thread. Lifetime: the task that runs the call shares it.

#include <memory>

#include <QFutureInterface>

#include <brn_mesh_kernel/library/Export.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>

namespace Brennic::Core {

class TaskQueue;

/// A callable on its way to a queue, with the future that tells its end.
class BRN_MESH_KERNEL_EXPORT DispatchedCall : public std::enable_shared_from_this<DispatchedCall>
{
public:
    DispatchedCall(const DispatchedCall&) = delete;
    DispatchedCall& operator=(const DispatchedCall&) = delete;

    /// Forgets the call. The derived class has finished the future before, if nobody else has.
    /// Thread: any.
    virtual ~DispatchedCall();

    /// Has \p queue run the call, once; gives the call up if nobody will run it.
    /// Thread: any. Ownership: the task that is added to \p queue shares the call.
    void add(TaskQueue& queue);

    /// The same on the library's queue of the class \p qos.
    /// Thread: any. Ownership: the task that is added shares the call.
    void add(EQualityOfService qos);

    /// Waits until \p future is finished; \ref waitFor has the rules.
    ///
    /// Throws what `QFuture::waitForFinished` throws: the exception that the future holds.
    /// Thread: any; blocks until then.
    static void wait(QFutureInterfaceBase future);

    /// Gives up all calls that have not begun: the application object has gone, or the process ends.
    ///
    /// \param releasesCallables whether callables are destroyed too. While the process ends they may use what
    ///        is gone.
    /// Thread: any.
    static void giveUpPending(bool releasesCallables);

protected:
    /// Makes the call whose end \p future tells.
    /// Thread: any.
    explicit DispatchedCall(const QFutureInterfaceBase& future);

    /// Finishes the future, unless the callable has done so by its promise, runs its continuations and ends the
    /// waits for the call. Called last by `run` and `drop`.
    /// Thread: any.
    void finish();

private:
    class Impl;

    /// Runs the callable, destroys it and finishes the future. Called once, unless `drop` is. Thread: any.
    virtual void run() = 0;
    /// Destroys the callable if \p releasesCallable, and finishes the future as cancelled. Called once, unless
    /// `run` is. Thread: any.
    virtual void drop(bool releasesCallable) = 0;

    void takeTurn();
    bool giveUp(bool releasesCallable);

    const std::unique_ptr<Impl> m_impl;
};

} // namespace Brennic::Core
