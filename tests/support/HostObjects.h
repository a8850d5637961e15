#pragma once
/// \file
/// Objects of a host in the threads of a queue's workers, whose slots a test calls there.
///
/// What the slots use is shared with them, never borrowed from the test: a slot that hangs outlives it.

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include <QMetaObject>
#include <QObject>
#include <QThread>

#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/Latch.h"

namespace Brennic::Testing {

/// What no passing test takes, and a test that hangs does.
constexpr std::chrono::seconds hangLimit{15};

inline std::shared_ptr<Core::Task> addTask(const std::shared_ptr<Core::TaskQueue>& queue,
                                           const std::function<void()>& function)
{
    auto task = std::make_shared<Core::Task>(function);
    queue->addTask(task);
    return task;
}

/// Keeps the thread busy for \p time.
inline void spinFor(std::chrono::microseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end)
        continue;
}

/// A slot that a thread is held up in, until this goes.
class HeldUp
{
public:
    HeldUp() = default;
    ~HeldUp() { release(); }
    HeldUp(const HeldUp&) = delete;
    HeldUp& operator=(const HeldUp&) = delete;

    std::function<void()> slot() const
    {
        return [begun = m_begun, released = m_released] {
            begun->countDown();
            released->wait();
        };
    }
    bool hasBegun() { return m_begun->wait(hangLimit); }
    void release() { m_released->countDown(); }

private:
    std::shared_ptr<Latch> m_begun = std::make_shared<Latch>();
    std::shared_ptr<Latch> m_released = std::make_shared<Latch>();
};

class HostObjects
{
public:
    /// Makes an object in the thread of each worker of \p queue, all of which have to be free.
    explicit HostObjects(const std::shared_ptr<Core::TaskQueue>& queue)
    {
        const int workers = queue->getMaxConcurrency();
        struct Arrivals
        {
            explicit Arrivals(int count) : all(count), released(count) {}
            Latch all;
            Latch released;
            std::mutex mutex;
            std::vector<QObject*> objects;
        };
        const auto arrivals = std::make_shared<Arrivals>(workers);
        for (int i = 0; i < workers; ++i)
            addTask(queue, [arrivals] {
                {
                    const std::lock_guard<std::mutex> lock(arrivals->mutex);
                    arrivals->objects.push_back(new QObject);
                }
                arrivals->all.countDown();
                arrivals->all.wait(hangLimit); // so that no worker runs two of these
                arrivals->released.countDown();
            });
        if (!arrivals->released.wait(hangLimit))
            return;
        const std::lock_guard<std::mutex> lock(arrivals->mutex);
        m_objects = arrivals->objects;
    }

    /// Lets the objects go in their threads.
    ~HostObjects()
    {
        const auto gone = std::make_shared<Latch>(count());
        for (QObject* const object : m_objects) {
            QObject::connect(
                object, &QObject::destroyed, object, [gone] { gone->countDown(); }, Qt::DirectConnection);
            object->deleteLater();
        }
        gone->wait(std::chrono::seconds(5)); // in vain if one hangs
    }

    HostObjects(const HostObjects&) = delete;
    HostObjects& operator=(const HostObjects&) = delete;

    /// 0 if the workers did not come.
    int count() const { return static_cast<int>(m_objects.size()); }

    QObject* object(int worker) const { return m_objects[static_cast<std::size_t>(worker)]; }

    /// Has \p slot called in the thread of a worker, by a queued call.
    void call(int worker, const std::function<void()>& slot) const
    {
        QMetaObject::invokeMethod(object(worker), slot, Qt::QueuedConnection);
    }

private:
    std::vector<QObject*> m_objects;
};

} // namespace Brennic::Testing
