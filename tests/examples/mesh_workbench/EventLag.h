#pragma once
/// \file
/// Measures how long the events of a thread wait: a thread of its own posts one after the other.

#include <atomic>
#include <chrono>
#include <memory>

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>

class EventLag : public QObject
{
public:
    using Clock = std::chrono::steady_clock;

    /// Begins to post to this object; its thread must serve events until \ref stop.
    EventLag() : m_thread(QThread::create([this] { post(); })) { m_thread->start(); }
    ~EventLag() override { stop(); }
    EventLag(const EventLag&) = delete;
    EventLag& operator=(const EventLag&) = delete;

    void stop()
    {
        m_isStopped = true;
        m_thread->wait();
    }

    std::chrono::duration<double, std::milli> longest() const { return m_longest; }
    int count() const { return m_count; }

    bool event(QEvent* event) override
    {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        m_longest = std::max(m_longest, Clock::now() - m_posted.load());
        ++m_count;
        m_isWaiting = false;
        return true;
    }

private:
    // One at a time: the longest wait counts, and each that comes behind another would wait as long.
    void post()
    {
        while (!m_isStopped) {
            if (!m_isWaiting) {
                m_isWaiting = true;
                m_posted = Clock::now();
                QCoreApplication::postEvent(this, new QEvent(QEvent::User));
            }
            QThread::msleep(1); // the distance between events, nothing that is waited for
        }
    }

    std::atomic<bool> m_isStopped{false};
    std::atomic<bool> m_isWaiting{false};
    std::atomic<Clock::time_point> m_posted{Clock::time_point()};
    Clock::duration m_longest{0};
    int m_count = 0;
    std::unique_ptr<QThread> m_thread; // last: it uses the others
};
