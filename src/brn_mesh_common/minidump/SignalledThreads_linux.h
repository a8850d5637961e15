#pragma once
/// \file
/// Internal, not installed. Has the threads of this process write down their own registers, on a real-time
/// signal.
///
/// For systems where nobody may trace. A thread that has answered stands still until the object is destroyed.
/// A thread that blocks the signal does not answer and stays without registers.

#include <csignal>
#include <cstddef>
#include <cstdint>

#include <brn_mesh_common/minidump/Clock_linux.h>
#include <brn_mesh_common/minidump/ThreadList_linux.h>

namespace Brennic::Minidump {

class SignalledThreads
{
public:
    /// Threads are added to \p threads; one that is listed there already (the caller) is left alone.
    SignalledThreads(std::int32_t process, ThreadList& threads);
    ~SignalledThreads();
    SignalledThreads(const SignalledThreads&) = delete;
    SignalledThreads& operator=(const SignalledThreads&) = delete;

    /// Signals them and waits for their answers. Those that do not answer in time stay without registers.
    /// \return false if there is no signal to do it with.
    bool stop(const Deadline& deadline);

private:
    bool signalNewThreads();
    void signal(std::int32_t id);
    void waitForAnswers(const Deadline& deadline);
    void findWaitingPlaces(const Deadline& deadline);

    std::int32_t m_process;
    ThreadList& m_threads;
    int m_signal = 0;
    struct sigaction m_before
    {
    };
};

} // namespace Brennic::Minidump
