#pragma once
/// \file
/// The object through which one thread serves one task queue. Not installed.
///
/// A worker of any class but `eQOS_GUI` has a plain `QThread` of its own, which WorkerThreads starts and
/// deletes. When the queue's scheduler (TaskScheduler.h) has notified the worker, whoever ran that section
/// posts it an event. In the worker's thread the event runs pending jobs (\ref TaskWorker::event, `serve`)
/// until none is left or a millisecond has passed. Then the thread delivers the host's events.
///
/// The worker of the GUI queue is not scheduled. Whoever adds a job posts an event for it, because hosts rely
/// on jobs and events arriving in the order in which a thread has posted them. An event runs the pending jobs
/// up to its own (`serveGui`). But many jobs would keep timers, input and painting waiting, as Qt delivers
/// all posted events first, in one pass. If a pass takes too long, the rest is a flood: a single event,
/// posted behind that pass, runs some jobs and posts itself again.
///
/// Lifetime: a worker outlives its queue, since it is often a worker that destroys it. Then the worker ends
/// its thread and deletes itself there, as the thread's last act; the GUI thread's event loop deletes the GUI
/// worker.

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include <QMetaObject>
#include <QObject>

#include <brn_mesh_kernel/tasks/TaskQueueCore.h>

namespace Brennic::Core {

class Task;

class TaskWorker : public QObject, public QueueScheduler::Worker
{
    Q_OBJECT

public:
    using JobNumber = QueueScheduler::Number;

    /// Thread: any; for `eQOS_GUI` it becomes the GUI thread and is raised to the highest priority.
    explicit TaskWorker(std::shared_ptr<TaskQueueCore> core);
    ~TaskWorker() override;

    /// Has every worker's thread keep what \p make returns, from before its first job until after its last:
    /// the crash filter's stack, which this layer does not know. Called before there are workers; without it
    /// they keep nothing.
    static void guardThreadsBy(std::shared_ptr<void> (*make)());

    TaskWorker(const TaskWorker&) = delete;
    TaskWorker& operator=(const TaskWorker&) = delete;

    /// The worker whose thread calls; null in the GUI thread and in threads of the host.
    static TaskWorker* current();

    /// The thread of the GUI queue.
    static std::thread::id guiThread();

    /// The name that the thread has or will have; empty for the GUI worker.
    const std::string& threadName() const { return m_threadName; }

    TaskQueueCore& core() const { return *m_core; }

    // The next two are called under the mutex of WorkerThreads.

    /// Starts the thread; false if the system has none. Thread: any.
    bool startThread();

    /// Lets the worker end, because its queue is being destroyed. Thread: any.
    void retire();
    bool hasRetired() const { return m_hasRetired; }

    /// Posts the event of a worker that the scheduler has notified. Thread: any.
    void postEvent();

    /// Posts the event for a job of the GUI queue; in a flood none, since the flood's event runs the job.
    /// Thread: any.
    void postJob(JobNumber number, std::size_t pendingCount);

    /// Takes back the events that have not been delivered: no application object is there to deliver them.
    /// Thread: any.
    void discardEvents();

    /// Posts events for what is pending, now that there is an application object to deliver them. Thread:
    /// any.
    void resume();

    /// Notes whether WorkerThreads holds the thread. Thread: the worker's.
    void setHeld(bool isHeld) { m_isHeld = isHeld; }

    /// Whether the thread will not touch the application object, so that this may be destroyed: the thread
    /// has none of our events to deliver, is held, or runs a job and will be held after it.
    bool isAtRest() const;

    /// Whether the thread is starting or ending, and so in Qt's own code.
    bool isStartingOrEnding() const;

    bool event(QEvent* event) override;

public Q_SLOTS:
    /// Takes the task from the queue and runs it; does nothing if it is not pending there. Nothing in the
    /// library needs it: \ref event runs the jobs.
    /// Thread: the worker's.
    void tryRunTask(Task* pTask);

private:
    class Turn;
    class WorkerEvent;

    void enterThread();
    void leaveThread();
    void enterLoop();
    bool mayGoOn();
    void serve();
    void serveGui(JobNumber number, bool isFlood);
    void beginPass();
    void markPass();
    void postFlood();
    void endFlood();
    bool takeBackFlood();
    void postGuiEvent(JobNumber number, bool isFlood = false);

    const std::shared_ptr<TaskQueueCore> m_core;
    std::string m_threadName;
    std::atomic<bool> m_hasRetired{false};
    std::atomic<bool> m_isServing{
        false}; // the event loop has begun: before, Qt is still making what that needs
    std::atomic<bool> m_isHeld{false};
    QMetaObject::Connection m_loopBlocks; // the worker's thread alone uses this and the next three
    QMetaObject::Connection m_loopAwakes;
    std::shared_ptr<void> m_threadGuard;
    int m_turns = 0; // more than one if a job runs an event loop

    // Of the GUI worker.
    std::atomic<bool> m_isFlooded{false}; // a flood's event is on its way and runs what was added before it
    // The GUI thread's, of this pass through its posted events: since when, how long it has run jobs, and
    // whether an event is on its way that will only arrive in the next pass.
    std::chrono::steady_clock::time_point m_passBegan;
    std::chrono::steady_clock::duration m_passTime{0};
    bool m_isPassMarked = false;
    int m_endedFloods = 0; // floods that have ended before their event has come
};

} // namespace Brennic::Core
