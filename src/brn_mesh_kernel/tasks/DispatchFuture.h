#pragma once
/// \file
/// Runs a callable on one of the library's queues, and gives a `QFuture` for what it returns or throws.
///
///     using namespace Brennic::Core;
///     dispatch([path] { return loadMesh(path); }, eQOS_Normal)
///         .then(window, [window](const Mesh& mesh) { window->show(mesh); })
///         .onFailed(window, [window](const std::exception& error) { window->tell(error.what()); });
///
/// What Qt offers for futures works: `then`, `QFutureWatcher`, `QtFuture::whenAll`, coroutine libraries.
/// `dispatchAsync` (Dispatch.h) costs less where nobody asks for the end.
///
/// **Every call ends**, and its end wakes whoever waits for the future: with a value, with an exception, or
/// cancelled. `QFuture::cancel` takes a pending callable back: it never runs, and is destroyed at the latest
/// when its turn comes; the future is finished then. A callable that runs goes on, and what it returns is
/// dropped; if it takes a promise it can ask `isCanceled()`. A call that is pending when the application object
/// goes, or when the process ends, is cancelled.
///
/// Threads: every function may be called from any thread, also inside a task. There wait by `waitFor`, which makes
/// room: `QFuture::waitForFinished` and `result` of an unfinished future take a worker away.
///
/// Lifetime: the queue owns the call until it has ended, and a pending call keeps its queue. A future may be
/// dropped at any time; its callable runs nevertheless.

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include <QFuture>
#include <QFutureInterface>
#include <QtGlobal>
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
#include <QPromise>
#else
#include <QException>
#endif

#include <brn_mesh_kernel/tasks/DispatchedCall.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>

namespace Brennic::Core {

class TaskQueue;

/// \cond
// What dispatch is made of; not for hosts.
namespace FutureDetails {

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)

// The type of the promise that a function or an object with one call operator takes.
template <typename Function>
struct PromiseOf : PromiseOf<decltype(&Function::operator())>
{
};
template <typename Return, typename T>
struct PromiseOf<Return (*)(QPromise<T>&)>
{
    using Type = T;
};
template <typename Return, typename T>
struct PromiseOf<Return (*)(QPromise<T>&) noexcept> : PromiseOf<Return (*)(QPromise<T>&)>
{
};
template <typename Return, typename Class, typename T>
struct PromiseOf<Return (Class::*)(QPromise<T>&)> : PromiseOf<Return (*)(QPromise<T>&)>
{
};
template <typename Return, typename Class, typename T>
struct PromiseOf<Return (Class::*)(QPromise<T>&) const> : PromiseOf<Return (*)(QPromise<T>&)>
{
};
template <typename Return, typename Class, typename T>
struct PromiseOf<Return (Class::*)(QPromise<T>&) noexcept> : PromiseOf<Return (*)(QPromise<T>&)>
{
};
template <typename Return, typename Class, typename T>
struct PromiseOf<Return (Class::*)(QPromise<T>&) const noexcept> : PromiseOf<Return (*)(QPromise<T>&)>
{
};

#endif

// The type of the future for a callable: what it returns, or what its promise is for.
template <typename Function, bool TakesNothing = std::is_invocable_v<Function>>
struct ResultOf
{
    using Type = std::decay_t<std::invoke_result_t<Function>>;
};
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
template <typename Function>
struct ResultOf<Function, false>
{
    using Type = typename PromiseOf<Function>::Type;
};
#endif
template <typename Function>
using Result = typename ResultOf<std::decay_t<Function>>::Type;

// A callable of a known type and the future for its result.
template <typename Function, typename T>
class Call final : public DispatchedCall
{
public:
    template <typename Source>
    Call(Source&& function, const QFutureInterface<T>& future)
        : DispatchedCall(future), m_function(std::forward<Source>(function)), m_future(future)
    {
    }
    ~Call() override
    {
        if (!m_future.isFinished()) // nobody has run it
            Call::drop(true);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

private:
    // What the callable holds is released before anybody sees the end. A callable that takes a promise may have
    // finished the future already: then Qt would clear the results for an exception, while others read them.
    void run() override
    {
        try {
            invoke();
        } catch (...) {
            if (!m_future.isFinished())
                reportException();
        }
        m_function.reset();
        finish();
    }

    void drop(bool releasesCallable) override
    {
        if (releasesCallable)
            m_function.reset();
        m_future.reportCanceled();
        finish();
    }

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    void invoke()
    {
        if constexpr (!std::is_invocable_v<Function>)
            std::invoke(std::move(*m_function), m_promise);
        else if constexpr (std::is_void_v<T>)
            std::invoke(std::move(*m_function));
        else
            m_promise.addResult(std::invoke(std::move(*m_function)));
    }
    void reportException()
    {
        m_future.reportException(std::current_exception());
    }
#else
    void invoke()
    {
        if constexpr (std::is_void_v<T>)
            std::invoke(std::move(*m_function));
        else
            m_future.reportResult(std::invoke(std::move(*m_function)));
    }
    // This Qt carries its own exceptions only; of others it tells that there was one.
    void reportException()
    {
        try {
            throw;
        } catch (const QException& exception) {
            m_future.reportException(exception);
        } catch (...) {
            m_future.reportException(QUnhandledException());
        }
    }
#endif

    std::optional<Function> m_function;
    QFutureInterface<T> m_future;
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    QPromise<T> m_promise{m_future};
#endif
};

// Has a queue, or that of a service class, run a callable.
template <typename Function, typename Target>
QFuture<Result<Function>> start(Function&& function, Target&& target)
{
    using T = Result<Function>;
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    static_assert(std::is_void_v<T> || std::is_copy_constructible_v<T>, "Qt 5 copies results");
#endif
    QFutureInterface<T> future;
    future.reportStarted(); // or result() would not wait
    QFuture<T> result = future.future();
    std::make_shared<Call<std::decay_t<Function>, T>>(std::forward<Function>(function), future)->add(target);
    return result;
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)

template <typename T>
QFutureInterfaceBase interfaceOf(const QFuture<T>& future)
{
    return QFutureInterfaceBase::get(future);
}

#else

template <typename T>
QFutureInterfaceBase interfaceOf(const QFuture<T>& future)
{
    return future.d;
}

// For futures without a value this Qt hides the same member. An explicit instantiation may name it.
QFutureInterfaceBase& hiddenInterfaceOf(const QFuture<void>& future);
template <QFutureInterfaceBase QFuture<void>::*member>
struct HiddenInterface
{
    friend QFutureInterfaceBase& hiddenInterfaceOf(const QFuture<void>& future)
    {
        return const_cast<QFuture<void>&>(future).*member;
    }
};
template struct HiddenInterface<&QFuture<void>::d>;

inline QFutureInterfaceBase interfaceOf(const QFuture<void>& future)
{
    return hiddenInterfaceOf(future);
}

#endif

} // namespace FutureDetails
/// \endcond

/// Has the library's queue of the class \p qos run \p function, once.
///
/// \param function is copied or moved, and may be one that can only be moved. With Qt 6 it may take a
///        `QPromise<T>&`, by which it gives any number of results, tells its progress and asks whether it is
///        cancelled; what it returns is ignored then. It may finish the promise before it returns: then the
///        future is finished, and what comes later is dropped, an exception too. With Qt 6.4 a continuation that
///        another thread attaches in that moment may run twice, which crashes: return instead where one may. It
///        must not let another thread finish the promise.
/// \param qos the service class.
/// \return the future of what \p function returns or throws. With Qt 5 a value is copied, and of an exception
///         that is no `QException` a `QUnhandledException` arrives. Where nothing can be queued the future is
///         cancelled and finished, and nothing is logged: if \p qos is no service class, once the library ends
///         with the process, and for `eQOS_GUI` from another thread once the application object has gone.
/// Thread: any. Does not wait for \p function, except for `eQOS_GUI` in the GUI thread: there it runs inside the
/// call, ahead of what is pending.
template <typename Function>
QFuture<FutureDetails::Result<Function>> dispatch(Function&& function, EQualityOfService qos)
{
    return FutureDetails::start(std::forward<Function>(function), qos);
}

/// The same on \p queue, which lives until \p function has run.
template <typename Function>
QFuture<FutureDetails::Result<Function>> dispatch(Function&& function, TaskQueue& queue)
{
    return FutureDetails::start(std::forward<Function>(function), queue);
}

/// Waits until \p future is finished, and up to 20 ms longer for its continuations; they may run later.
///
/// For a future of \ref dispatch the rules of `Task::waitTillFinished` hold: a worker that waits for a call of
/// its own queue makes room, and where no worker can run the call, the caller does. Besides:
/// - The GUI thread runs a pending call of the GUI queue that it waits for, ahead of those before it.
/// - A call that is pending is taken back if it is cancelled, before the wait or within 10 ms of it.
/// - A wait that cannot end takes its call back, which cancels the future, and a warning is logged.
///
/// For another future, such as one of `then`, a worker counts as waiting, so that others run what is pending in
/// its queue; it runs nothing itself.
///
/// Throws the exception that the future holds, as `QFuture::waitForFinished` does.
/// Thread: any; blocks until \p future is finished.
template <typename T>
void waitFor(const QFuture<T>& future)
{
    // And with it the results, whatever happens to the caller's.
    const QFuture<T> kept = future; // NOLINT(performance-unnecessary-copy-initialization)
    DispatchedCall::wait(FutureDetails::interfaceOf(kept));
}

} // namespace Brennic::Core
