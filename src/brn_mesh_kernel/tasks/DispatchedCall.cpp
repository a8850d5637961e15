#include <brn_mesh_kernel/tasks/DispatchedCall.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include <QLibraryInfo>
#include <QVersionNumber>

#include <brn_mesh_kernel/tasks/SynchronousDispatch.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/WorkerThreads.h>

namespace Brennic::Core {

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)

namespace {

// Gives access to the continuation of a future, which Qt has room for one of.
class ContinuationOf : public QFutureInterfaceBase
{
public:
    explicit ContinuationOf(const QFutureInterfaceBase& future) : QFutureInterfaceBase(future) {}
    using QFutureInterfaceBase::runContinuation;
    using QFutureInterfaceBase::setContinuation;
};

// Qt 6.4 marks a future as finished, and then looks for a continuation to run. One that another thread attaches
// in between runs at once, and a second time when Qt looks: the second run uses what the first has moved away,
// and crashes. So the future must not become finished while another thread attaches a continuation. A callable
// that finishes its promise itself does so by Qt's own code, which nothing here can help.
//
// For that Qt would have to set the mark under the mutex under which it replaces a continuation. It destroys the
// one before under that mutex. So the call attaches a continuation that does nothing but to tell of its own
// destruction. There are two cases:
// - Somebody attaches another before the call ends. Then nobody else attaches one: a future has one at most.
// - The call ends first, and replaces its own. The destructor sets the mark, under the mutex. If another thread
//   is ahead at the mutex, the destructor runs there, and the call finds a finished future with a continuation
//   that nobody has run.
class FutureEnd
{
public:
    /// Attaches the continuation that does nothing. Later versions of Qt have not been tried: there nothing is
    /// attached, and a call ends as Qt's own do.
    explicit FutureEnd(const QFutureInterfaceBase& future)
    {
        static const bool isNeeded = QVersionNumber(6, 4).isPrefixOf(QLibraryInfo::version());
        if (isNeeded)
            ContinuationOf(future).setContinuation(
                [mark = std::make_shared<Mark>(m_shared)](const QFutureInterfaceBase&) {});
        else
            m_shared->state = State::Attached;
    }

    void finish(const QFutureInterfaceBase& future)
    {
        ContinuationOf continuation(future);
        m_shared->future = &continuation;
        State state = State::Open;
        if (m_shared->state.compare_exchange_strong(state, State::Ending)) {
            // Qt calls this at once if the future is finished by then.
            continuation.setContinuation(
                [](const QFutureInterfaceBase& parent) { ContinuationOf(parent).runContinuation(); });
        } else {
            continuation.reportFinished();
            continuation.runContinuation();
        }
    }

private:
    enum class State
    {
        Open,     // nobody has attached a continuation
        Attached, // somebody has
        Ending,   // the call has begun to end before
    };

    // The continuation may outlive the call.
    struct Shared
    {
        std::atomic<State> state{State::Open};
        QFutureInterfaceBase* future = nullptr; // set before the call begins to end, which waits for the mark
    };

    class Mark
    {
    public:
        explicit Mark(std::shared_ptr<Shared> shared) : m_shared(std::move(shared)) {}
        ~Mark()
        {
            State state = State::Open;
            if (!m_shared->state.compare_exchange_strong(state, State::Attached) && state == State::Ending)
                m_shared->future->reportFinished();
        }
        Mark(const Mark&) = delete;
        Mark& operator=(const Mark&) = delete;

    private:
        const std::shared_ptr<Shared> m_shared;
    };

    const std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
};

} // namespace

#else

namespace {

// Futures of this Qt have no continuations.
class FutureEnd
{
public:
    explicit FutureEnd(const QFutureInterfaceBase&) {}
    static void finish(QFutureInterfaceBase future) { future.reportFinished(); }
};

} // namespace

#endif

class DispatchedCall::Impl
{
public:
    explicit Impl(const QFutureInterfaceBase& future) : m_future(future), m_end(future) {}

    // Whether the application object that there was has gone, and no other has come.
    bool hasLostApplication() const { return m_hadApplication && !WorkerThreads::areEventsDelivered(); }

    const QFutureInterfaceBase m_future; // keeps the address by which the call is found
    FutureEnd m_end;
    std::weak_ptr<Task> m_task; // set before others can find the call, like the next two
    bool m_isForGui = false;
    bool m_hadApplication = false;      // when it was added
    std::atomic<bool> m_isTaken{false}; // by whoever runs it or gives it up
};

namespace {

// A future has no room for what belongs to it. Its mutex is the one part whose address all copies of it share.
const void* keyOf(const QFutureInterfaceBase& future)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return &future.mutex();
#else
    return future.mutex();
#endif
}

// The calls that exist, by their futures: all that waitFor() gets is a future. In parts, so that threads which
// dispatch and workers which end calls seldom meet.
class Calls
{
public:
    void add(const void* key, const std::shared_ptr<DispatchedCall>& call)
    {
        Part& part = partOf(key);
        const std::lock_guard<std::mutex> lock(part.mutex);
        part.calls[key] = call;
    }

    void remove(const void* key)
    {
        Part& part = partOf(key);
        const std::lock_guard<std::mutex> lock(part.mutex);
        part.calls.erase(key);
    }

    // Whether the call exists. \p call is null if another thread is about to destroy it, which ends it.
    bool find(const void* key, std::shared_ptr<DispatchedCall>& call)
    {
        Part& part = partOf(key);
        const std::lock_guard<std::mutex> lock(part.mutex);
        const auto found = part.calls.find(key);
        if (found == part.calls.end())
            return false;
        call = found->second.lock();
        return true;
    }

    // The caller releases them with no lock held, since that may end one.
    std::vector<std::shared_ptr<DispatchedCall>> all()
    {
        std::vector<std::shared_ptr<DispatchedCall>> result;
        for (Part& part : m_parts) {
            const std::lock_guard<std::mutex> lock(part.mutex);
            for (const auto& [key, call] : part.calls)
                result.push_back(call.lock());
        }
        return result;
    }

private:
    struct alignas(64) Part
    {
        std::mutex mutex;
        std::unordered_map<const void*, std::weak_ptr<DispatchedCall>> calls; // guarded by mutex
    };

    Part& partOf(const void* key)
    {
        // The lowest bits are those of the alignment.
        return m_parts[(std::hash<const void*>()(key) >> 6) % m_parts.size()];
    }

    std::array<Part, 16> m_parts;
};

// How often a thread looks whether another one has ended the call that it ends at this moment.
constexpr std::chrono::milliseconds lookTime{1};

// Never destroyed: calls may end until the process has gone.
Calls& calls()
{
    static Calls* const instance = new Calls;
    return *instance;
}

} // namespace

DispatchedCall::DispatchedCall(const QFutureInterfaceBase& future) : m_impl(std::make_unique<Impl>(future)) {}

DispatchedCall::~DispatchedCall()
{
    calls().remove(keyOf(m_impl->m_future));
}

void DispatchedCall::add(TaskQueue& queue)
{
    const auto task = std::make_shared<Task>([self = shared_from_this()] { self->takeTurn(); });
    m_impl->m_task = task;
    m_impl->m_isForGui = queue.getQOS() == eQOS_GUI;
    m_impl->m_hadApplication = WorkerThreads::areEventsDelivered();
    // List the call before asking each of these. Whoever changes an answer does so before it gives up the calls of
    // the list, so at least one side sees the other. That holds for the application object too: one that went
    // between the question above and the list has not given this call up.
    calls().add(keyOf(m_impl->m_future), shared_from_this());
    const bool isOutOfReach = m_impl->m_isForGui && WorkerThreads::isGuiThreadOutOfReach();
    if (WorkerThreads::haveEnded() || isOutOfReach || m_impl->hasLostApplication())
        giveUp(true);
    else
        queue.addTask(task);
}

void DispatchedCall::add(EQualityOfService qos)
{
    TaskQueue* const queue = TaskQueue::getGlobalQueue(qos);
    if (queue != nullptr)
        add(*queue);
    else
        giveUp(true);
}

void DispatchedCall::takeTurn()
{
    // A thread that waits may be here before giveUpPending() is: the call ends the same way.
    if (m_impl->m_future.isCanceled() || m_impl->hasLostApplication() || WorkerThreads::haveEnded())
        giveUp(!WorkerThreads::haveEnded());
    else if (!m_impl->m_isTaken.exchange(true))
        run();
}

bool DispatchedCall::giveUp(bool releasesCallable)
{
    if (m_impl->m_isTaken.exchange(true))
        return false;
    drop(releasesCallable);
    return true;
}

// The waits end last. Where Qt has the gap of which FutureEnd tells, nobody is to be woken inside it.
void DispatchedCall::finish()
{
    if (!m_impl->m_future.isFinished()) // or Qt would run the continuations again
        m_impl->m_end.finish(m_impl->m_future);
    if (const std::shared_ptr<Task> task = m_impl->m_task.lock())
        SynchronousDispatch::endWaits(*task);
}

void DispatchedCall::wait(QFutureInterfaceBase future)
{
    bool isOfDispatch = false;
    if (!future.isFinished()) {
        std::shared_ptr<DispatchedCall> call;
        isOfDispatch = calls().find(keyOf(future), call);
        const std::shared_ptr<Task> task = call ? call->m_impl->m_task.lock() : nullptr;
        // Qt tells of a cancel, and of an end, in event loops only.
        const TaskWatch watch{[&] { return future.isCanceled(); }, [&] { call->giveUp(true); },
                              [&] { return future.isFinished(); }};
        const bool isTakenBack = task && future.isCanceled() && call->giveUp(true);
        if (task && !isTakenBack && !SynchronousDispatch::wait(*task, call->m_impl->m_isForGui, &watch))
            call->giveUp(true);
    }
    if (!future.isFinished()) {
        const SynchronousDispatch::CountedAsWaiting counted; // the end may depend on any task
        // Another thread ends the call at this moment. Qt's wait would look into the global thread pool, and the
        // destructor of the application object, which ends calls, destroys that.
        while (isOfDispatch && !future.isFinished())
            std::this_thread::sleep_for(lookTime);
        future.waitForFinished(); // another's future
    }
    future.waitForFinished(); // throws what the future holds
}

void DispatchedCall::giveUpPending(bool releasesCallables)
{
    for (const std::shared_ptr<DispatchedCall>& call : calls().all())
        if (call)
            call->giveUp(releasesCallables);
}

} // namespace Brennic::Core
