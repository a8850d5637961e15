#include <brn_mesh_kernel/logging/LogGate.h>

#include <thread>

namespace Brennic::Core {

namespace {

// How often the thread is inside: an appender of the host may log, and a thread must not wait for itself at
// the gate.
thread_local int t_depth = 0;

} // namespace

LogGate& LogGate::instance()
{
    static LogGate& gate = *new LogGate; // never destroyed: records are logged late
    return gate;
}

bool LogGate::isCallerInside()
{
    return t_depth > 0;
}

// Count before reading the state. close() and hold() set the state before they read the count, so at least
// one side sees the other.
bool LogGate::enter()
{
    if (t_depth > 0) {
        ++t_depth;
        return true;
    }
    for (;;) {
        ++m_inside;
        const State state = m_state;
        if (state == State::open) {
            t_depth = 1;
            return true;
        }
        --m_inside;
        if (state == State::closed)
            return false;
        const std::lock_guard<std::mutex> untilForked(m_forkMutex); // then try again
    }
}

void LogGate::leave()
{
    if (--t_depth == 0)
        --m_inside;
}

bool LogGate::waitForOthers() const
{
    constexpr std::chrono::seconds patience(4); // longer than a record's copies may wait for their readers
    const auto deadline = std::chrono::steady_clock::now() + patience;
    const int own = t_depth > 0 ? 1 : 0;
    while (m_inside > own) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    return true;
}

void LogGate::close()
{
    m_state = State::closed;
    waitForOthers();
}

void LogGate::hold()
{
    m_forkMutex.lock();
    State expected = State::open;
    m_isDeserted = m_state.compare_exchange_strong(expected, State::held) && waitForOthers();
}

void LogGate::release()
{
    State expected = State::held;
    m_state.compare_exchange_strong(expected, State::open);
    m_forkMutex.unlock();
}

void LogGate::releaseInChild()
{
    m_inside = t_depth > 0 ? 1 : 0; // the child has no thread but the one that forked
    if (!m_isDeserted)
        m_state = State::closed;
    release();
}

} // namespace Brennic::Core
