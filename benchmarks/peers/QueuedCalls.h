#pragma once
/// \file
/// Objects in threads of their own. Each is notified of every callable by a queued call, and the first one
/// runs it.

#include <atomic>
#include <memory>
#include <vector>

#include <QMetaObject>
#include <QObject>
#include <QThread>

class QueuedCalls
{
public:
    static constexpr const char* name = "queued calls";

    explicit QueuedCalls(int workers)
    {
        for (int i = 0; i < workers; ++i) {
            m_threads.push_back(std::make_unique<QThread>());
            m_objects.push_back(std::make_unique<QObject>());
            m_objects.back()->moveToThread(m_threads.back().get());
            m_threads.back()->start();
        }
    }
    ~QueuedCalls()
    {
        for (const std::unique_ptr<QThread>& thread : m_threads) {
            thread->quit();
            thread->wait();
        }
    }
    QueuedCalls(const QueuedCalls&) = delete;
    QueuedCalls& operator=(const QueuedCalls&) = delete;

    template <typename Function>
    void run(const Function& function)
    {
        const auto isTaken = std::make_shared<std::atomic<bool>>(false);
        for (const std::unique_ptr<QObject>& object : m_objects)
            QMetaObject::invokeMethod(
                object.get(),
                [isTaken, function] {
                    if (!isTaken->exchange(true))
                        function();
                },
                Qt::QueuedConnection);
    }

    /// Returns once every worker has received all calls.
    void finish()
    {
        for (const std::unique_ptr<QObject>& object : m_objects)
            QMetaObject::invokeMethod(
                object.get(), [] {}, Qt::BlockingQueuedConnection);
    }

private:
    std::vector<std::unique_ptr<QThread>> m_threads;
    std::vector<std::unique_ptr<QObject>> m_objects;
};
