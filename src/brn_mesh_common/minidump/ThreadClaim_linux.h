#pragma once
/// \file
/// Internal, not installed. The claim of one thread to what a process does one at a time: to handle a crash, or to write
/// a dump.
///
/// It is no lock, since the thread that holds a lock may be the one that has crashed: who comes second is told who was
/// first, and decides. A forked child inherits the claim of its parent, and tells by the process that it is not its own.
/// Safe in a signal handler.

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
        std::int32_t process; ///< 0: nobody
        std::int32_t thread;

        bool isInThisProcess() const { return process == processId(); }
        bool isThisThread() const { return isInThisProcess() && thread == threadId(); }
    };

    /// Takes the claim for the calling thread, unless a thread of this process has it.
    /// \return who had it before. The caller has it now if that is nobody, or in another process.
    Holder take()
    {
        std::uint64_t holder = m_holder;
        while (!unpacked(holder).isInThisProcess() && !m_holder.compare_exchange_weak(holder, self()))
            continue;
        return unpacked(holder);
    }

    /// Takes the claim from whoever has it.
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
