#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include <algorithm>
#include <utility>
#include <vector>

#include <QMetaMethod>
#include <QThread>

#include <brn_mesh_kernel/library/Process.h>
#include <brn_mesh_kernel/tasks/GlobalQueues.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueueCore.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>
#include <brn_mesh_kernel/tasks/WorkerThreads.h>

namespace Brennic::Core {

namespace {

int workerCount(EQualityOfService qos, int maxConcurrency)
{
    if (qos == eQOS_GUI)
        return 1;
    return maxConcurrency < 1 ? std::max(1, QThread::idealThreadCount() - 1) : maxConcurrency;
}

// The task of a job, made now if it has none: an overflow queue lives by the tasks that hold it.
std::shared_ptr<Task> taskOf(const TaskJob& job)
{
    return job.task ? job.task : std::make_shared<Task>(job.function);
}

} // namespace

TaskQueue::TaskQueue(EQualityOfService qos, int maxConcurrency, const std::shared_ptr<TaskFamily>& family)
    : m_core(std::make_shared<TaskQueueCore>(qos, family))
{
    WorkerThreads::makeWorkers(m_core, workerCount(qos, maxConcurrency));
}

TaskQueue::~TaskQueue()
{
    // Destroyed at the end of this function, with no lock held: a callable may run the host's code then.
    const QueueScheduler::Jobs released = m_core->scheduler.takeAll(true);
    // By plain calls and not by a signal of the queue: a worker that deletes itself in its thread would still
    // be on the list of receivers that the signal walks.
    WorkerThreads::retireWorkers(*m_core);
}

std::shared_ptr<TaskQueue> TaskQueue::createQueue(EQualityOfService qos, int maxConcurrency)
{
    if (qos == eQOS_GUI)
        return {};
    std::shared_ptr<TaskQueue> queue(new TaskQueue(qos, maxConcurrency, std::make_shared<TaskFamily>()));
    return queue->getMaxConcurrency() > 0 ? queue : nullptr;
}

std::shared_ptr<TaskQueue> TaskQueue::createOverflowQueue(const TaskQueueCore& core)
{
    const std::shared_ptr<TaskFamily> family = core.family;
    const bool isLimited = family->otherWaits == 0;
    if (++family->overflowQueues > TaskFamily::mostOverflowQueues && isLimited) {
        --family->overflowQueues;
        return {};
    }
    std::shared_ptr<TaskQueue> overflow(new TaskQueue(core.qos, 1, family));
    overflow->m_core->isOverflow = true; // ~TaskQueueCore() takes it off the count, when its thread ends
    return overflow->getMaxConcurrency() > 0 ? overflow : nullptr;
}

TaskQueue* TaskQueue::getGlobalQueue(EQualityOfService qos)
{
    return GlobalQueues::find(qos);
}

TaskQueue* TaskQueue::getGUIQueue()
{
    return getGlobalQueue(eQOS_GUI);
}

EQualityOfService TaskQueue::getQOS() const
{
    return m_core->qos;
}

int TaskQueue::getMaxConcurrency() const
{
    return m_core->scheduler.workerCount();
}

bool TaskQueue::isArrivalObserved() const
{
    return m_core->isArrivalObserved;
}

void TaskQueue::connectNotify(const QMetaMethod& signal)
{
    if (signal == QMetaMethod::fromSignal(&TaskQueue::newTaskArrived))
        m_core->isArrivalObserved = true;
}

bool TaskQueue::isGuiThread() const
{
    return m_core->qos == eQOS_GUI && QThread::currentThread() == m_core->guiWorker->thread();
}

bool TaskQueue::isFamilyOf(const TaskWorker& worker) const
{
    return m_core->family == worker.core().family;
}

bool TaskQueue::mustWaiterRunTasks() const
{
    return m_core->isStranded || WorkerThreads::areOutOfReach();
}

bool TaskQueue::runsOnOtherCore() const
{
    return m_core->lastCore.load(std::memory_order_relaxed) != currentCore();
}

void TaskQueue::addTask(std::shared_ptr<Task> task)
{
    if (!task)
        return;
    // Keep queue and task until newTaskArrived has been emitted: a worker may have run the task and released
    // both by then. The earlier queue is released at the end, with no lock held.
    const std::shared_ptr<TaskQueue> self(weak_from_this().lock(), this);
    const std::shared_ptr<TaskQueue> earlierQueue = task->setQueue(self);
    TaskJob job{task, nullptr};
    if (isGuiThread()) {
        task->runTask();
    } else if (!m_core->add(job)) {
        addWhileAllWait(std::move(task));
        return;
    } else if (!WorkerThreads::areEventsDelivered()) {
        // No worker runs it for now: a thread that has waited since before must look whether to run it
        // itself.
        task->wakeWaiters();
    }
    Q_EMIT newTaskArrived(task.get());
}

void TaskQueue::addWhileAllWait(std::shared_ptr<Task> task)
{
    if (const std::shared_ptr<TaskQueue> overflow = createOverflowQueue(*m_core)) {
        overflow->addTask(std::move(task));
        return;
    }
    m_core->setStranded(); // before the job is added: whoever sees it pending sees that waiters run it
    TaskJob job{task, nullptr};
    m_core->add(job, true);
    if (m_core->family->otherWaits > 0) // since a moment ago
        makeRoom(*m_core);
    task->wakeWaiters();
    Q_EMIT newTaskArrived(task.get());
}

void TaskQueue::dispatch(std::function<void()> function)
{
    if (!function)
        return;
    if (isArrivalObserved()) { // the signal has a Task to name
        addTask(std::make_shared<Task>(function));
        return;
    }
    if (isGuiThread()) {
        function();
        return;
    }
    TaskJob job{nullptr, std::move(function)};
    if (!m_core->add(job))
        addTask(taskOf(job));
}

std::shared_ptr<Task> TaskQueue::findAndRemoveTask(Task* pTask)
{
    TaskJob job;
    m_core->scheduler.remove([pTask](const TaskJob& pending) { return pending.task.get() == pTask; }, job);
    return job.task;
}

// The worker's thread begins to wait for a task of the queue's family.
void TaskQueue::beginWait(TaskWorker& worker)
{
    TaskQueueCore& core = worker.core();
    core.post(core.scheduler.beginWait(worker));
    makeRoom(core);
}

// If no worker of the queue is left that does not wait, nobody would run the pending tasks: they move to one
// overflow queue, in order. A task that is added in between finds all workers waiting and gets an overflow queue
// of its own (addTask), so none stays behind.
void TaskQueue::makeRoom(TaskQueueCore& core)
{
    if (!core.scheduler.isStarved() || movePending(core))
        return;
    // Set before reading otherWaits. beginOtherWait() does the reverse, so at least one side sees the other.
    core.setStranded();
    if (core.family->otherWaits > 0 && movePending(core))
        return;
    core.wakeWaiters(); // threads that wait for a pending task run it themselves
}

bool TaskQueue::movePending(TaskQueueCore& core)
{
    const std::shared_ptr<TaskQueue> overflow = createOverflowQueue(core);
    if (overflow) // from here on the tasks keep it
        core.scheduler.takeAll(false).forEach([&](const TaskJob& job) { overflow->addTask(taskOf(job)); });
    return overflow != nullptr;
}

void TaskQueue::beginOtherWait(TaskWorker& worker)
{
    TaskFamily& family = *worker.core().family;
    ++family.otherWaits; // first: what becomes pending from now on moves, however many queues there are
    beginWait(worker);
    if (!family.hasBeenStranded)
        return;
    for (const std::shared_ptr<TaskQueueCore>& core : WorkerThreads::cores())
        if (core->isStranded && core->family.get() == &family)
            makeRoom(*core);
}

void TaskQueue::endOtherWait(TaskWorker& worker)
{
    endWait(worker);
    --worker.core().family->otherWaits;
}

void TaskQueue::endWait(TaskWorker& worker)
{
    worker.core().isStranded = false;
    worker.core().post(worker.core().scheduler.endWait(worker));
}

} // namespace Brennic::Core

template class Brennic::Objects::SharedObject<Brennic::Core::TaskQueue>;

#include "moc_TaskQueue.cpp" // NOLINT(bugprone-suspicious-include)
