#pragma once
/// \file
/// The object through which one thread serves one task queue. Not installed.
///
/// A worker of any class but `eQOS_GUI` makes a plain `QThread`, moves into it and starts it. It hears of
/// every task of its queue through the queue's signal, in the thread that adds the task; the news waits in
/// the worker's inbox until one event brings the worker's thread to hand over what has gathered. However
/// many tasks arrive, no more than one event is on its way.
///
/// A thread is woken only if there is something left for it: the queue notifies one idle worker, and a worker
/// that has claimed a task while others are pending notifies the next. The inboxes of those that stay idle
/// gather news of tasks that have gone, and are emptied from time to time.
///
/// Lifetime: a worker outlives its queue. When the queue has gone it lets its thread end and is deleted
/// there, as the thread's last act; the GUI worker is deleted by the GUI thread's event loop.

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <QObject>

#include <brn_mesh_kernel/tasks/Announcement.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>

namespace Brennic::Core {

class CrashStack;
class TaskQueue;

class TaskWorker : public QObject
{
    Q_OBJECT

public:
    /// The most tasks that are run before other events of the thread are served.
    static constexpr int batchLimit = 128;

    /// The most announcements that are handed over before other events of the thread are served.
    static constexpr int announcementLimit = 4096;

    /// The announcements after which an idle worker is notified even if there is nothing left for it.
    static constexpr std::size_t inboxLimit = 1024;

    enum class State
    {
        /// Has nothing to do and no event on its way, or one that finds nothing.
        Idle,
        /// An event is on its way that will hand over the inbox.
        Notified,
        /// Hands over its inbox, or runs a task.
        Active,
    };

    /// Thread: any; for `eQOS_GUI` it becomes the GUI thread and is raised to the highest priority.
    explicit TaskWorker(TaskQueue* queue);
    ~TaskWorker() override;

    TaskWorker(const TaskWorker&) = delete;
    TaskWorker& operator=(const TaskWorker&) = delete;

    /// Takes in the announcement that the calling thread is emitting.
    /// Thread: any; in the GUI thread, the GUI worker runs the task at once.
    void hear(Task* pTask);

    /// Stops claiming tasks. Thread: that of the queue's destructor.
    void loseQueue();

    /// Lets the worker end. Thread: that of the queue's destructor, which has called \ref loseQueue.
    void retire();

    /// Lets an idle worker hand over its inbox; does nothing with any other. Thread: any.
    void notify();

    State state() const { return m_state; }

    /// Sends the worker an event if there may be something for it, now that there is an application object: the
    /// one that was on its way may have been lost with the last. Thread: any.
    void wake();

    bool isPaused() const { return m_paused; }
    void setPaused(bool isPaused) { m_paused = isPaused; }

    bool hasRetired() const { return m_hasRetired; }
    /// Whether the worker's thread waits at the gate. Thread: the worker's.
    void setHeld(bool isHeld) { m_isHeld = isHeld; }
    /// Whether the worker's event loop will deliver nothing of the library's before the gate opens: there is
    /// nothing to deliver, or the worker is held, or will be after its task.
    bool isAtRest();
    /// Whether the worker's thread is starting or ending.
    bool isComingOrGoing() const;

    /// Appends the pending tasks of the queue, if this is the first of its workers. Thread: any.
    void collectPendingTasks(std::vector<std::shared_ptr<Task>>& tasks);

    static void wakeWaitersOf(Task& task);
    /// Waits until the task has finished, or takes it back if it is for a GUI thread that has lost its application
    /// object, and returns false. Thread: any.
    static bool waitOrWithdraw(Task& task);

    /// The queue whose worker runs in the calling thread; empty in a thread of nobody's, in the GUI thread, and
    /// once the queue has gone.
    static std::shared_ptr<TaskQueue> queueOfCurrentThread();

    bool event(QEvent* event) override;

public Q_SLOTS:
    /// Claims the task from the queue and runs it; does nothing if another worker has claimed it, or if it
    /// is not pending there (any longer). Thread: the worker's.
    void tryRunTask(Task* pTask);

private:
    struct Claim
    {
        std::shared_ptr<Task> task;
        std::shared_ptr<TaskQueue> queue; // if another worker should be notified
    };

    void startThread();
    void enterThread();
    void leaveThread();
    bool mayGoOn();
    void handOverAnnouncements();
    void startHandOver();
    void endHandOver();
    bool mustSendEventLocked();
    const Announcement* nextAnnouncement();
    Claim claimNext(int& announcementsLeft);
    Claim claimLocked(const Announcement& announcement);
    void run(Claim claim);

    const EQualityOfService m_qos;
    const bool m_isFirstOfQueue;
    std::string m_threadName;
    TaskQueue* m_queue; // guarded by m_queueMutex; null once the queue has gone
    std::atomic<bool> m_paused{false};
    std::atomic<bool> m_hasRetired{false};
    std::atomic<bool> m_isServing{
        false}; // its event loop has begun: before, Qt is still making what that needs
    std::atomic<bool> m_isHeld{false};
    std::atomic<int> m_running{0}; // more than one where a task runs an event loop
    // Apart from the other, which the threads that add tasks take: a worker that claims task after task meets
    // them only when it empties its inbox.
    std::mutex m_queueMutex;
    std::mutex m_mutex;
    std::vector<Announcement> m_inbox; // guarded by m_mutex
    bool m_isInLoop = false;           // guarded by m_mutex
    // A thread that starts is as good as notified: it sends itself an event before it enters its loop.
    bool m_isEventOnItsWay;     // guarded by m_mutex
    std::atomic<State> m_state; // changed under m_mutex
    // What has been taken from the inbox; only the worker's thread uses it.
    std::vector<Announcement> m_taken;
    std::size_t m_nextTaken = 0;
    int m_handOvers = 0; // more than one where a task runs an event loop; only the worker's thread uses it
    std::unique_ptr<CrashStack> m_crashStack; // made and destroyed in the worker's thread
};

} // namespace Brennic::Core
