#include <brn_mesh_kernel/tasks/SynchronousDispatch.h>

#include <memory>
#include <utility>

#include <QScopeGuard>

#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>

namespace Brennic::Core {

bool SynchronousDispatch::run(TaskQueue& queue, const std::function<void()>& function)
{
    const auto task = std::make_shared<Task>(function);
    queue.addTask(task);
    return task->waitOrWithdraw(true);
}

void SynchronousDispatch::announce(Task& task, std::shared_ptr<TaskQueue> queue)
{
    task.setBeingAdded(true);
    task.setQueue(std::move(queue));
}

void SynchronousDispatch::add(TaskQueue& queue, const std::shared_ptr<Task>& task)
{
    const auto added = qScopeGuard([&task] { task->setBeingAdded(false); });
    queue.addTask(task);
}

bool SynchronousDispatch::wait(Task& task, bool isForGui, const TaskWatch* watch)
{
    // As addTask() does for a task that is added in the GUI thread. Its job stays and will find nothing to do.
    const TaskQueue* const guiQueue = isForGui ? TaskQueue::getGUIQueue() : nullptr;
    if (guiQueue != nullptr && guiQueue->isGuiThread())
        task.runTask();
    return task.waitOrWithdraw(true, watch);
}

void SynchronousDispatch::endWaits(Task& task)
{
    task.endRun();
}

SynchronousDispatch::CountedAsWaiting::CountedAsWaiting() : m_worker(TaskWorker::current())
{
    if (m_worker != nullptr)
        TaskQueue::beginOtherWait(*m_worker);
}

SynchronousDispatch::CountedAsWaiting::~CountedAsWaiting()
{
    if (m_worker != nullptr)
        TaskQueue::endOtherWait(*m_worker);
}

} // namespace Brennic::Core
