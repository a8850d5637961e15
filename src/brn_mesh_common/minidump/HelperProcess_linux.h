#pragma once
/// \file
/// Internal, not installed. Runs a function in a process of its own that shares our memory and nothing else.
///
/// It has no thread of ours, so it may trace them all; it has its own descriptors, so it can free some; it
/// can be ended when it takes too long; and a fault in it leaves us alone. It holds no lock that we could
/// wait for.

#include <atomic>
#include <csignal>
#include <cstdint>

#include <brn_mesh_common/minidump/Standstill_linux.h>

namespace Brennic::Minidump {

enum class HelperEnd
{
    Returned,   ///< the function has run to its end
    Failed,     ///< it faulted or was out of time
    NotStarted, ///< the system makes no process for us, or one that may call nothing
};

/// One at a time: it runs on a stack in static storage.
class HelperProcess
{
public:
    using Function = void (*)(void* argument);

    HelperProcess(Function function, void* argument) : m_function(function), m_argument(argument) {}

    /// Starts the helper, lets it trace us, and waits for its end, which it comes to in every case: it ends when it has
    /// faulted, when the limit is over, and with the calling thread.
    HelperEnd run(const TimeLimit& limit);

private:
    // What the other side waits for.
    enum State : std::uint32_t
    {
        Gone = 0, // as the system says it
        Alive,
        Finished
    };

    static void enter(void* self);
    static void onFault(int signal, siginfo_t* information, void* context);
    [[noreturn]] static void endSelf();
    bool handleFaults();
    void work();
    bool start();
    void end();

    Function m_function;
    void* m_argument;
    std::int32_t m_parent = processId();
    std::int32_t m_id = 0;
    std::atomic<std::uint32_t> m_state{Alive};
    std::atomic<std::uint32_t> m_mayRun{0};
    std::atomic<bool> m_isForbidden{false};
    std::atomic<bool> m_hasReturned{false};
};

} // namespace Brennic::Minidump
