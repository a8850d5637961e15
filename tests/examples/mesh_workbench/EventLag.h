#pragma once
/// \file
/// Measures how long the events of a thread wait for their answer. A thread of its own posts one event after the other.
///
/// The time in which the measured thread could run, but other threads and programs had the processors, is left out: that
/// depends on the machine. Where the kernel does not tell it, it counts.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>

class EventLag : public QObject
{
public:
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::duration<double, std::milli>;

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

    /// The longest time from an event to its answer.
    Milliseconds longest() const { return m_longest; }
    int count() const { return m_count; }

    bool event(QEvent* event) override
    {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        const std::chrono::nanoseconds lag = Clock::now() - m_posted.load();
        m_longest = std::max<Milliseconds>(m_longest, lag - (timeWithoutProcessor() - m_waitedBefore));
        ++m_count;
        m_isWaiting = false;
        return true;
    }

private:
    // In which the measured thread could run and had no processor. Any thread may ask.
    std::chrono::nanoseconds timeWithoutProcessor() const
    {
        std::chrono::nanoseconds::rep running = 0;
        std::chrono::nanoseconds::rep waiting = 0;
        std::ifstream(m_thisThread / "schedstat") >> running >> waiting;
        return std::chrono::nanoseconds(waiting);
    }

    // One at a time: the longest wait counts, and each that comes behind another would wait as long.
    void post()
    {
        while (!m_isStopped) {
            if (!m_isWaiting) {
                m_isWaiting = true;
                m_waitedBefore = timeWithoutProcessor();
                m_posted = Clock::now();
                QCoreApplication::postEvent(this, new QEvent(QEvent::User));
            }
            QThread::msleep(1); // the distance between events, nothing that is waited for
        }
    }

    const std::filesystem::path m_thisThread = "/proc" / std::filesystem::read_symlink("/proc/thread-self");
    std::atomic<bool> m_isStopped{false};
    std::atomic<bool> m_isWaiting{false};
    std::atomic<Clock::time_point> m_posted{Clock::time_point()};
    std::chrono::nanoseconds m_waitedBefore{0}; // the posting thread sets it before each event
    Milliseconds m_longest{0};
    int m_count = 0;
    std::unique_ptr<QThread> m_thread; // last: it uses the others
};
