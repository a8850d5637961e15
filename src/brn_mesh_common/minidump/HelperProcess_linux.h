#pragma once
/// \file
/// Internal, not installed. Runs a function in a helper process that shares our memory and nothing else.
///
/// A process of its own may trace all our threads, which no thread of ours may. It can close descriptors without
/// affecting ours, it can be killed when it takes too long, and a fault in it does not crash us again. It holds
/// no lock that we could wait for.

#include <atomic>
#include <csignal>
#include <cstdint>

#include <brn_mesh_common/minidump/Standstill_linux.h>

namespace Brennic::Minidump {

enum class HelperEnd
{
    Returned,   ///< the function has returned
    Failed,     ///< it faulted or exceeded its time limit
    NotStarted, ///< the system refused a process, or one that may make system calls
};

/// One at a time: it runs on a stack in static storage.
class HelperProcess
{
public:
    using Function = void (*)(void* argument);

    HelperProcess(Function function, void* argument) : m_function(function), m_argument(argument) {}

    /// Starts the helper, allows it to trace us, and waits until it has ended. The helper ends in every case: after a
    /// fault, at the time limit, and when the calling thread ends.
    HelperEnd run(const TimeLimit& limit);

private:
    // The word that each side waits for.
    enum State : std::uint32_t
    {
        Gone = 0, // the kernel writes it when the process ends
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
