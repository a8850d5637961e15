#pragma once
/// \file
/// Internal, not installed. A thread that sleeps until a crash, and then does what needs memory.
///
/// The crashing thread cannot allocate: its heap may be corrupt, or it may itself hold the heap's lock. This
/// thread is started before any crash and allocates once, so that the C library gives it a heap of its own.

#include <atomic>
#include <cstdint>

#include <brn_mesh_common/minidump/Standstill_linux.h>

namespace Brennic::Core {

class CrashReportThread
{
public:
    using Work = void (*)(const wchar_t* path);

    /// The one of the process. It is never destroyed.
    static CrashReportThread& instance();

    /// Starts the thread, unless this process has it already. A forked child does not inherit it.
    void start(Work work);

    /// Runs the work on the thread and waits for it, at most as long as \p limit says. Safe in a signal
    /// handler.
    /// \return whether the work has finished. False at once if this process has no such thread, or if the
    /// calling thread is this one.
    bool run(const wchar_t* path, const Minidump::TimeLimit& limit);

    /// Whether the calling thread is this one. Safe in a signal handler.
    bool isCurrent() const;
    /// Ends the wait in \ref run, because the work has crashed. Safe in a signal handler.
    void giveUp() { finish(State::GivenUp); }

private:
    enum class State : std::uint32_t
    {
        Waiting,
        Asked,
        Done,
        GivenUp
    };

    void main();
    void finish(State state);
    static std::uint32_t number(State state) { return static_cast<std::uint32_t>(state); }

    Work m_work = nullptr;
    const wchar_t* m_path = nullptr;
    int m_spareDescriptor = -1; // closed for the report, in case the process has used up its descriptors
    std::atomic<std::int32_t> m_process{0}; // whose thread it is
    std::atomic<std::int32_t> m_thread{0};
    std::atomic<std::uint32_t> m_state{0};
};

} // namespace Brennic::Core
