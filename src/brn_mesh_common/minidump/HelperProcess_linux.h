#pragma once
/// \file
/// Internal, not installed. Runs a function in a process of its own that shares our memory and nothing else.
///
/// It has no thread of ours, so it may trace them all; it has its own descriptors, so it can free some; it
/// can be ended when it takes too long; and a fault in it leaves us alone. It holds no lock that we could
/// wait for.

#include <atomic>
#include <cstdint>

#include <brn_mesh_common/minidump/Clock_linux.h>

namespace Brennic::Minidump {

enum class HelperEnd
{
    Returned,   ///< the function has run to its end
    Failed,     ///< it faulted or was out of time
    NotStarted, ///< the system makes no process for us
};

/// One at a time: it runs on a stack in static storage.
class HelperProcess
{
public:
    using Function = void (*)(void* argument);

    HelperProcess(Function function, void* argument) : m_function(function), m_argument(argument) {}

    /// Starts the helper, lets it trace us, and waits for its end, at most until \p deadline.
    HelperEnd run(const Deadline& deadline);

private:
    static void enter(void* self);
    bool start();
    void end();

    Function m_function;
    void* m_argument;
    std::int32_t m_id = 0;
    std::atomic<std::uint32_t> m_isAlive{1}; // cleared by the system when the helper ends
    std::atomic<std::uint32_t> m_mayRun{0};
    std::atomic<bool> m_hasReturned{false};
};

} // namespace Brennic::Minidump
