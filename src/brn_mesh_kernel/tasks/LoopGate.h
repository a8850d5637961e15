#pragma once
/// \file
/// The end of a loop: helpers enter and leave, and the thread that runs the loop waits for those inside. Not
/// installed.
///
/// A helper is a pending callable, and may begin long after the loop has ended. What belongs to the caller of
/// the loop it may touch only inside. One word holds how many are inside and whether the gate is closed, so
/// entering and closing have an order: who enters first is waited for, and who comes later is turned away.
/// The caller never waits for a helper that has not begun.
///
/// Closing orders as well what is written: what helpers have written inside is visible to the thread that has
/// waited, and helpers inside see what was written before the gate was handed to them.
///
/// \p Platform brings the types, so that a model checker runs the code that ships: `Word` (an atomic
/// unsigned), `Mutex` and `Condition`.
///
/// Threads: one thread closes and waits; the other functions may be called from any thread. The gate outlives
/// its last user: helpers share it with the caller.

#include <mutex>

namespace Brennic::Core {

template <typename Platform>
class LoopGate
{
public:
    /// \return false if the gate is closed: the caller must not go on, nor \ref leave.
    bool enter()
    {
        unsigned state = m_state.load();
        while ((state & closed) == 0)
            if (m_state.compareExchange(state, state + 1))
                return true;
        return false;
    }

    /// The helper touches nothing of the caller's after this.
    void leave()
    {
        if (m_state.fetchSub(1) != (closed | 1U))
            return;
        // Whoever waits has tested the word under the mutex, and sleeps or has seen that it is the last one.
        {
            const std::lock_guard<typename Platform::Mutex> lock(m_mutex);
        }
        m_emptied.notifyAll();
    }

    /// Turns away who has not entered. Once.
    void close() { m_state.fetchAdd(closed); }

    /// Whether nobody is inside, and nobody will be: the gate is closed.
    bool isEmpty() const { return m_state.load() == closed; }

    /// Blocks until the gate is empty.
    void wait()
    {
        std::unique_lock<typename Platform::Mutex> lock(m_mutex);
        while (!isEmpty())
            m_emptied.wait(lock);
    }

    /// The same, for \p limit at most. \return whether it is empty.
    template <typename Duration>
    bool waitFor(Duration limit)
    {
        std::unique_lock<typename Platform::Mutex> lock(m_mutex);
        return m_emptied.waitFor(lock, limit, [this] { return isEmpty(); });
    }

private:
    static constexpr unsigned closed = 1U << 31U; // the other bits count who is inside

    typename Platform::Word m_state{0};
    typename Platform::Mutex m_mutex;
    typename Platform::Condition m_emptied;
};

} // namespace Brennic::Core
