#pragma once
/// \file
/// Internal, not installed. Stops the threads of another process and reads their registers, with ptrace.
///
/// Asks all threads to stop before it waits for any. They stop in parallel, so the time hardly grows with their
/// number. They continue when the object is destroyed, or when the tracing process ends.

#include <cstddef>
#include <cstdint>

#include <brn_mesh_common/minidump/Clock_linux.h>
#include <brn_mesh_common/minidump/ThreadList_linux.h>

namespace Brennic::Minidump {

class TracedThreads
{
public:
    /// Threads are added to \p threads; one that is listed there already (the crashing one) is not traced.
    TracedThreads(std::int32_t process, ThreadList& threads);
    ~TracedThreads();
    TracedThreads(const TracedThreads&) = delete;
    TracedThreads& operator=(const TracedThreads&) = delete;

    /// Stops the threads and reads their registers. A thread that does not stop in time has none in the list.
    /// \return false if the system forbids tracing.
    bool stop(const Deadline& deadline);

private:
    bool seizeNewThreads();
    void seize(std::int32_t id);
    void waitForStops(const Deadline& deadline);
    void noteStatus(std::int32_t id, int status);
    void readRegisters(CapturedThread& thread);

    std::int32_t m_process;
    ThreadList& m_threads;
    std::size_t m_seized = 0;
    std::size_t m_running = 0;
    bool m_isRefused = false;
};

} // namespace Brennic::Minidump
