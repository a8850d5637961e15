#include <brn_mesh_kernel/tasks/DispatchedCall.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <vector>

#include <brn_mesh_kernel/tasks/SynchronousDispatch.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/WorkerThreads.h>

namespace Brennic::Core {

class DispatchedCall::Impl
{
public:
    explicit Impl(const QFutureInterfaceBase& future) : m_future(future) {}

    const QFutureInterfaceBase m_future; // keeps the address by which the call is found
    std::weak_ptr<Task> m_task;          // set before others can find the call, like the next two
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

    std::shared_ptr<DispatchedCall> find(const void* key)
    {
        Part& part = partOf(key);
        const std::lock_guard<std::mutex> lock(part.mutex);
        const auto found = part.calls.find(key);
        return found != part.calls.end() ? found->second.lock() : nullptr;
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
    // List the call before asking. Whoever changes the answer does so before it gives up the calls of the list,
    // so at least one side sees the other.
    calls().add(keyOf(m_impl->m_future), shared_from_this());
    if (WorkerThreads::haveEnded() || (m_impl->m_isForGui && WorkerThreads::isGuiThreadOutOfReach()))
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
    const bool hasLostApplication = m_impl->m_hadApplication && !WorkerThreads::areEventsDelivered();
    if (m_impl->m_future.isCanceled() || hasLostApplication || WorkerThreads::haveEnded())
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

void DispatchedCall::endWaits()
{
    if (const std::shared_ptr<Task> task = m_impl->m_task.lock())
        SynchronousDispatch::endWaits(*task);
}

void DispatchedCall::wait(QFutureInterfaceBase future)
{
    if (!future.isFinished()) {
        const std::shared_ptr<DispatchedCall> call = calls().find(keyOf(future));
        const std::shared_ptr<Task> task = call ? call->m_impl->m_task.lock() : nullptr;
        // Qt tells of a cancel, and of an end, in event loops only.
        const auto takeBackIfCancelled = [&] { return future.isCanceled() && call->giveUp(true); };
        const TaskWatch watch{takeBackIfCancelled, [&] { return future.isFinished(); }};
        if (task && !takeBackIfCancelled() &&
            !SynchronousDispatch::wait(*task, call->m_impl->m_isForGui, &watch))
            call->giveUp(true);
    }
    if (!future.isFinished()) { // another's future, whose end may depend on any task
        const SynchronousDispatch::CountedAsWaiting counted;
        future.waitForFinished();
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
