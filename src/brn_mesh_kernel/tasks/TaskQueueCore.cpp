#include <brn_mesh_kernel/tasks/TaskQueueCore.h>

#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>
#include <brn_mesh_kernel/tasks/Watchdog.h>

namespace Brennic::Core {

void TaskJob::run()
{
    if (task)
        task->runTask();
    else
        function();
}

// The worker of an overflow queue, and its thread, are about to be gone.
TaskQueueCore::~TaskQueueCore()
{
    if (isOverflow)
        --family->overflowQueues;
}

bool TaskQueueCore::add(TaskJob& job, bool evenIfAllWait)
{
    if (qos == eQOS_GUI) {
        const auto [number, pendingCount] = scheduler.append(job);
        workers.front()->postJob(number, pendingCount);
        return true;
    }
    post(scheduler.add(job, evenIfAllWait));
    return !job;
}

void TaskQueueCore::post(QueueScheduler::Notifications notifications)
{
    // First: once its event is posted, a worker may end the queue.
    if (notifications.isWatchDue)
        Watchdog::watch(shared_from_this());
    notifications.post([](QueueScheduler::Worker& worker) { static_cast<TaskWorker&>(worker).postEvent(); });
}

void TaskQueueCore::wakeWaiters()
{
    std::vector<std::shared_ptr<Task>> tasks; // released outside the scheduler's mutex
    scheduler.forEachPending([&](const TaskJob& job) {
        if (job.task)
            tasks.push_back(job.task);
    });
    for (const std::shared_ptr<Task>& task : tasks)
        task->wakeWaiters();
}

} // namespace Brennic::Core
