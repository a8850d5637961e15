#pragma once
/// \file
/// Receives progress in the GUI thread: counts the calls, and lets a thread wait for the one that completes.

#include <atomic>

#include <QSemaphore>

class ProgressReceiver
{
public:
    explicit ProgressReceiver(int total) : m_total(total) {}

    /// Thread: GUI thread.
    void hear(int value)
    {
        ++m_calls;
        if (value == m_total)
            m_completed.release();
    }
    void waitUntilComplete() { m_completed.acquire(); }
    int calls() const { return m_calls; }
    int total() const { return m_total; }

private:
    int m_total;
    std::atomic<int> m_calls{0};
    QSemaphore m_completed;
};
