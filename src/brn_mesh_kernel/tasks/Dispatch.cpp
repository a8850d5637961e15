#include <brn_mesh_kernel/tasks/Dispatch.h>

#include <utility>

#include <brn_mesh_kernel/tasks/SynchronousDispatch.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/WorkerThreads.h>

namespace Brennic::Core {

bool dispatchAsync(const std::function<void()>& function, EQualityOfService qos)
{
    return dispatchAsync(std::function<void()>(function), qos);
}

bool dispatchAsync(std::function<void()>&& function, EQualityOfService qos)
{
    TaskQueue* const queue = TaskQueue::getGlobalQueue(qos);
    if (!function || queue == nullptr) // find() knows no other classes, and none once the process ends
        return false;
    queue->dispatch(std::move(function));
    return true;
}

bool dispatchSync(const std::function<void()>& function, EQualityOfService qos)
{
    TaskQueue* const queue = TaskQueue::getGlobalQueue(qos);
    if (!function || queue == nullptr || (qos == eQOS_GUI && WorkerThreads::isGuiThreadOutOfReach()))
        return false;
    return SynchronousDispatch::run(*queue, function);
}

} // namespace Brennic::Core
