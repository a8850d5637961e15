#pragma once
/// \file
/// A test with an application object, in whose thread GUI tasks run when the test serves events.

#include <chrono>
#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>

#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/Latch.h"

namespace Brennic::Testing {

/// Makes an application object where no test needs its arguments.
inline std::unique_ptr<QCoreApplication> makeApplication()
{
    static int count = 1;
    static char name[] = "test";
    static char* arguments[] = {name, nullptr};
    return std::make_unique<QCoreApplication>(count, arguments);
}

/// Lets other threads go on. A test that cannot see whether another thread sleeps yet tries several numbers of times. On a
/// busy machine, where each time takes as long as the other programs like, fewer will do.
inline void yieldTimes(int times)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(2);
    for (int i = 0; i < times && std::chrono::steady_clock::now() < end; ++i)
        QThread::yieldCurrentThread();
}

/// Serves the events of the calling thread until \p condition holds, for a minute at most; returns whether it
/// held.
template <typename Condition>
bool serveUntil(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::yieldCurrentThread();
    }
    return true;
}

/// Runs \p function in a thread of its own and serves the events of this one until it has returned.
inline bool runAside(const std::function<void()>& function)
{
    Latch done;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        function();
        done.countDown();
    }));
    thread->start();
    const bool isDone = serveUntil([&] { return done.isDown(); });
    thread->wait();
    return isDone;
}

class TaskFixture : public ::testing::Test
{
protected:
    std::unique_ptr<QCoreApplication> application = makeApplication();
};

/// A task that waits inside its callable until it is let go, so that its worker is busy meanwhile.
class BlockingTask
{
public:
    BlockingTask()
        : task(std::make_shared<Core::Task>([this] {
              m_started.countDown();
              m_release.wait();
          }))
    {
    }
    ~BlockingTask()
    {
        release();
        if (task->getTaskState() == Core::Task::eRunning)
            task->waitTillFinished();
    }
    BlockingTask(const BlockingTask&) = delete;
    BlockingTask& operator=(const BlockingTask&) = delete;

    bool hasStarted() { return m_started.wait(); }
    void release() { m_release.countDown(); }

private:
    Latch m_started;
    Latch m_release;

public:
    std::shared_ptr<Core::Task> task;
};

} // namespace Brennic::Testing
