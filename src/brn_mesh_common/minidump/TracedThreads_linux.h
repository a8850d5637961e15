#pragma once
/// \file
/// Internal, not installed. Stops the threads of another process and reads their registers, with ptrace.
///
/// All threads are told to stop before any is waited for: they stop side by side, and the time hardly grows
/// with their number. They run again when the object is destroyed, at the latest when the tracing process
/// ends.

#include <cstddef>
#include <cstdint>

#include <brn_mesh_common/minidump/Clock_linux.h>
#include <brn_mesh_common/minidump/ThreadList_linux.h>

namespace Brennic::Minidump {

class TracedThreads
{
public:
    /// Threads are added to \p threads; one that is listed there already (the crashing one) is left alone.
    TracedThreads(std::int32_t process, ThreadList& threads);
    ~TracedThreads();
    TracedThreads(const TracedThreads&) = delete;
    TracedThreads& operator=(const TracedThreads&) = delete;

    /// Stops them and reads their registers. Those that do not stop in time stay without.
    /// \return false if the system does not let us trace.
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
