#pragma once
/// \file
/// Internal, not installed. The claim of one thread to what a process does one at a time: handling a crash, or writing a
/// dump.
///
/// A lock would not do, since its holder may be the thread that has crashed. Here the second thread learns which
/// thread has the claim, and decides. A forked child inherits the claim of its parent; the process id shows that
/// it is not its own. Safe in a signal handler.

#include <atomic>
#include <cstdint>

#include <brn_mesh_common/minidump/Syscall_linux.h>

namespace Brennic::Minidump {

/// Lies zeroed in static storage.
class ThreadClaim
{
public:
    struct Holder
    {
        std::int32_t process; ///< 0: no thread has the claim
        std::int32_t thread;

        bool isInThisProcess() const { return process == processId(); }
        bool isThisThread() const { return isInThisProcess() && thread == threadId(); }
    };

    /// Takes the claim for the calling thread, unless a thread of this process has it.
    /// \return the previous holder. The caller has the claim now unless that is a thread of this process.
    Holder take()
    {
        std::uint64_t holder = m_holder;
        while (!unpacked(holder).isInThisProcess() && !m_holder.compare_exchange_weak(holder, self()))
            continue;
        return unpacked(holder);
    }

    /// Takes the claim, whichever thread has it.
    void takeOver() { m_holder = self(); }

    /// Gives the claim up, if the calling thread still has it.
    void release()
    {
        std::uint64_t own = self();
        m_holder.compare_exchange_strong(own, 0);
    }

private:
    static std::uint64_t self()
    {
        const auto process = static_cast<std::uint64_t>(processId());
        return process << 32 | static_cast<std::uint64_t>(threadId());
    }
    static Holder unpacked(std::uint64_t holder)
    {
        return {static_cast<std::int32_t>(holder >> 32), static_cast<std::int32_t>(holder)};
    }

    std::atomic<std::uint64_t> m_holder{0};
};

} // namespace Brennic::Minidump
