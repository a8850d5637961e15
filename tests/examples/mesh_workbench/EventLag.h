#pragma once
/// \file
/// Measures for how long a thread is busy before it answers an event: one of its timers always comes soon.
///
/// What counts is the processor's time of the thread itself. How long other threads and programs keep it from running
/// depends on the machine, and is no matter of what the thread does. A thread that waits inside a handler is not found.

#include <algorithm>
#include <chrono>
#include <ctime>

#include <QTimer>

class EventLag
{
public:
    using Milliseconds = std::chrono::duration<double, std::milli>;

    /// Begins to measure the calling thread, which must serve events until \ref stop.
    EventLag()
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { answer(); });
        m_timer.start(1);
    }

    void stop() { m_timer.stop(); }

    /// The most time of its own that the thread took between two answers.
    Milliseconds longest() const { return m_longest; }
    int count() const { return m_count; }

private:
    static std::chrono::nanoseconds ownTime()
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }

    void answer()
    {
        const std::chrono::nanoseconds now = ownTime();
        m_longest = std::max<Milliseconds>(m_longest, now - m_lastAnswer);
        m_lastAnswer = now;
        ++m_count;
    }

    QTimer m_timer;
    std::chrono::nanoseconds m_lastAnswer = ownTime();
    Milliseconds m_longest{0};
    int m_count = 0;
};
