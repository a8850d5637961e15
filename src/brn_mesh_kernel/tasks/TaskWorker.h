#pragma once
/// \file
/// The object through which one thread serves one task queue. Not installed.
///
/// A worker of any class but `eQOS_GUI` makes a plain `QThread`, moves into it and starts it. The queue's scheduler
/// (TaskScheduler.h) decides when an event is posted to the worker; the event runs pending jobs, in the worker's
/// thread, until none is left or a millisecond has passed: then the host's events in that thread have their turn.
///
/// The worker of the GUI queue is posted an event for every job, so that jobs and the host's events keep the order in
/// which a thread has posted them. An event runs the pending jobs up to its own. Only if one pass through the posted
/// events takes too long is the rest left to a single event, which comes after timers, input and painting: a flood.
///
/// Lifetime: a worker outlives its queue. When the queue has gone it lets its thread end and is deleted
/// there, as the thread's last act; the GUI worker is deleted by the GUI thread's event loop.

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

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

    /// Has every worker's thread hold what \p make returns, from before its first job until after its last. Called
    /// before there are workers; without it they hold nothing.
    static void guardThreadsBy(std::shared_ptr<void> (*make)());

    TaskWorker(const TaskWorker&) = delete;
    TaskWorker& operator=(const TaskWorker&) = delete;

    /// The worker whose thread is the calling one; null in the GUI thread and in the host's.
    static TaskWorker* current();

    TaskQueueCore& core() const { return *m_core; }

    // The next two under the mutex of WorkerThreads.

    /// Starts the thread; false if the system has none. Thread: any.
    bool startThread();

    /// Lets the worker end, now that its queue has gone. Thread: any.
    void retire();
    bool hasRetired() const { return m_hasRetired; }

    /// Posts the event that the scheduler has decided on. Thread: any.
    void postEvent();

    /// Posts the event for a job of the GUI queue, unless that is left to the event of a flood. Thread: any.
    void postJob(JobNumber number, std::size_t pendingCount);

    /// Takes back the events that have not been delivered: no application object is there to deliver them. Thread: any.
    void discardEvents();

    /// Posts what is needed now that there is an application object. Thread: any.
    void resume();

    /// Whether the thread is held. Thread: the worker's.
    void setHeld(bool isHeld) { m_isHeld = isHeld; }

    /// Whether the thread will not touch the application object: it has no event of the library to deliver, or is held,
    /// or will be after its job.
    bool isAtRest() const;

    /// Whether the thread is starting or ending.
    bool isStartingOrEnding() const;

    bool event(QEvent* event) override;

public Q_SLOTS:
    /// Takes the task from the queue and runs it; does nothing if it is not pending there.
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
    QMetaObject::Connection m_loopBlocks; // these and the next belong to the worker's thread
    QMetaObject::Connection m_loopAwakes;
    std::shared_ptr<void> m_threadGuard;
    int m_turns = 0; // more than one where a job runs an event loop

    // Of the GUI worker.
    std::atomic<bool> m_isFlooded{false}; // an event is on its way that runs all that was added before it
    // The GUI thread's, of this pass through its posted events: since when, how long it has run jobs, and whether an
    // event is on its way that will only arrive in the next pass.
    std::chrono::steady_clock::time_point m_passBegan;
    std::chrono::steady_clock::duration m_passTime{0};
    bool m_isPassMarked = false;
    int m_endedFloods = 0; // whose events are on their way
};

} // namespace Brennic::Core
