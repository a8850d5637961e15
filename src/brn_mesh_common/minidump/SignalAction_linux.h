#pragma once
/// \file
/// Internal, not installed. What a process does with a signal, as the kernel keeps it.
///
/// Tools that replace the C library's `sigaction` keep their handlers in the process's memory. In a process that
/// shares its memory with another, that changes the handlers of both.

#include <csignal>
#include <cstdint>

#include <brn_mesh_common/minidump/Syscall_linux.h>

extern "C" void brnReturnFromSignal(); // where a handler returns to: the kernel has no way of its own

namespace Brennic::Minidump {

class SignalAction
{
public:
    using Handler = void (*)(int signal, siginfo_t* information, void* context);

    static SignalAction byDefault() { return SignalAction(nullptr, 0); }
    static SignalAction calling(Handler handler) { return SignalAction(handler, SA_SIGINFO); }

    /// \return whether the system has taken it.
    bool applyTo(int signal) const
    {
        return systemCall(SYS_rt_sigaction, signal, &m_record, nullptr, sizeof(m_record.mask)) == 0;
    }

private:
    static constexpr std::uint64_t hasRestorer =
        0x04000000; // SA_RESTORER, which the C library keeps to itself

    // The kernel's.
    struct Record
    {
        Handler handler;
        std::uint64_t flags;
        void (*restorer)();
        std::uint64_t mask;
    };

    SignalAction(Handler handler, std::uint64_t flags)
        : m_record{handler, flags | hasRestorer, brnReturnFromSignal, 0}
    {
    }

    Record m_record;
};

} // namespace Brennic::Minidump
