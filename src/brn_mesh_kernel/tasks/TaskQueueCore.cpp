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

// The limit of overflow queues is one of threads. A worker keeps the core until its thread ends, so the count
// falls here and not with the queue.
TaskQueueCore::~TaskQueueCore()
{
    if (isOverflow)
        --family->overflowQueues;
}

bool TaskQueueCore::add(TaskJob& job, bool evenIfAllWait)
{
    if (qos == eQOS_GUI) { // an event for each job keeps its place among the host's events (TaskWorker.h)
        const auto [number, pendingCount] = scheduler.append(job);
        guiWorker->postJob(number, pendingCount);
        return true;
    }
    post(scheduler.add(job, evenIfAllWait));
    return !job;
}

void TaskQueueCore::post(QueueScheduler::Notifications notifications)
{
    // Before posting: with its event a worker may run the last task, and release what keeps this object.
    if (notifications.isWatchDue)
        Watchdog::watch(shared_from_this());
    notifications.post([](QueueScheduler::Worker& worker) { static_cast<TaskWorker&>(worker).postEvent(); });
}

void TaskQueueCore::wakeWaiters()
{
    // Copied, because neither a task's lock is taken nor a task destroyed under the scheduler's mutex.
    std::vector<std::shared_ptr<Task>> tasks;
    scheduler.forEachPending([&](const TaskJob& job) {
        if (job.task)
            tasks.push_back(job.task);
    });
    for (const std::shared_ptr<Task>& task : tasks)
        task->wakeWaiters();
}

} // namespace Brennic::Core
