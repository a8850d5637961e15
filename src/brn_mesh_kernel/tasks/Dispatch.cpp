#include <brn_mesh_kernel/tasks/Dispatch.h>

#include <memory>

#include <brn_mesh_kernel/tasks/ApplicationGate.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>

namespace Brennic::Core {

namespace {

// A wait for the GUI thread, after the application object has gone, would never end.
bool isWaitRefused(const TaskQueue& queue)
{
    return queue.getQOS() == eQOS_GUI && ApplicationGate::hasClosed() &&
           !ApplicationGate::isApplicationThread();
}

bool dispatchTask(const std::function<void()>& function, EQualityOfService qos, bool wait)
{
    TaskQueue* const queue = TaskQueue::getGlobalQueue(qos);
    if (!function || queue == nullptr || (wait && isWaitRefused(*queue)))
        return false;
    const auto task = std::make_shared<Task>(function);
    queue->addTask(task);
    return !wait || TaskWorker::waitOrWithdraw(*task);
}

} // namespace

bool dispatchAsync(const std::function<void()>& function, EQualityOfService qos)
{
    return dispatchTask(function, qos, false);
}

bool dispatchSync(const std::function<void()>& function, EQualityOfService qos)
{
    return dispatchTask(function, qos, true);
}

} // namespace Brennic::Core
