#include <brn_mesh_kernel/tasks/Dispatch.h>

#include <memory>
#include <utility>

#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/WorkerThreads.h>

namespace Brennic::Core {

// Lets the wait take the task back if the GUI thread cannot run it any more. That is safe here, where no
// other thread can wait for the task, and would surprise one that shares it.
class SynchronousDispatch
{
public:
    static bool run(TaskQueue& queue, const std::function<void()>& function)
    {
        const auto task = std::make_shared<Task>(function);
        queue.addTask(task);
        return task->waitOrWithdraw(true);
    }
};

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
