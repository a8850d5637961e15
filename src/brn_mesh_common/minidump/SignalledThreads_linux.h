#pragma once
/// \file
/// Internal, not installed. Makes each thread of this process record its own registers, in the handler of a real-time
/// signal.
///
/// For systems that forbid tracing. A thread that has recorded its registers waits in the handler until the object is
/// destroyed. A thread that blocks the signal has no registers in the dump, and one that ends is left out.

#include <csignal>
#include <cstddef>
#include <cstdint>

#include <brn_mesh_common/minidump/Clock_linux.h>
#include <brn_mesh_common/minidump/ThreadList_linux.h>

namespace Brennic::Minidump {

class SignalledThreads
{
public:
    /// Threads are added to \p threads; one that is listed there already (the caller) is not signalled.
    SignalledThreads(std::int32_t process, ThreadList& threads);
    ~SignalledThreads();
    SignalledThreads(const SignalledThreads&) = delete;
    SignalledThreads& operator=(const SignalledThreads&) = delete;

    /// Sends the signal to all threads and waits until they have recorded their registers, or until \p deadline.
    /// \return false if no signal is free.
    bool stop(const Deadline& deadline);

private:
    bool signalNewThreads();
    void signal(std::int32_t id);
    void waitForAnswers(const Deadline& deadline);
    void findWaitingPlaces(const Deadline& deadline);
    void markEnded();

    std::int32_t m_process;
    ThreadList& m_threads;
    int m_signal = 0;
    struct sigaction m_before
    {
    };
};

} // namespace Brennic::Minidump
