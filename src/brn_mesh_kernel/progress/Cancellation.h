#pragma once
/// \file
/// Whether a piece of work is cancelled, and the function to call when it is. Not installed.
///
/// One mutex guards the flag and the function. So of `cancel()` and `setHandler()`, the one that comes second calls
/// the function: it is called once, whichever thread is faster. Nothing is called or released under the mutex.
///
/// \p Platform brings the types, so that a model checker runs the code that ships: `Mutex`, `Flag` (an atomic bool)
/// and `Handler` (a function object that can be empty).
///
/// Threads: every function may be called from any thread.

#include <mutex>
#include <utility>

namespace Brennic::Core {

template <typename Platform>
class Cancellation
{
public:
    using Handler = typename Platform::Handler;

    bool isCancelled() const { return m_isCancelled.load(); }

    /// Cancels the work. The caller must call \p handler unless it is empty then.
    /// \return false if the work was cancelled already.
    bool cancel(Handler& handler)
    {
        const std::lock_guard<typename Platform::Mutex> lock(m_mutex);
        if (m_isCancelled.load())
            return false;
        m_isCancelled.store(true);
        std::swap(handler, m_handler);
        return true;
    }

    /// Keeps \p handler for the cancellation, and hands out the one that was kept before.
    /// \return false if the work is cancelled: nothing is kept, and the caller must call \p handler.
    bool setHandler(Handler& handler)
    {
        const std::lock_guard<typename Platform::Mutex> lock(m_mutex);
        if (m_isCancelled.load())
            return false;
        std::swap(handler, m_handler);
        return true;
    }

private:
    typename Platform::Mutex m_mutex;
    typename Platform::Flag m_isCancelled{false};
    Handler m_handler{}; // guarded by m_mutex
};

} // namespace Brennic::Core
