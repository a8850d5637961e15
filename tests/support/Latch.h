#pragma once
/// \file
/// A count that threads wait for, with a bound that no passing test reaches.

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace Brennic::Testing {

class Latch
{
public:
    explicit Latch(int count = 1) : m_count(count) {}

    void countDown()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_count;
        m_changed.notify_all();
    }

    /// Waits until the count is down, for \p limit at most; returns whether it is.
    bool wait(std::chrono::milliseconds limit = std::chrono::seconds(60))
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, limit, [this] { return m_count <= 0; });
    }

    bool isDown()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_count <= 0;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count;
};

} // namespace Brennic::Testing
