#pragma once
/// \file
/// Internal, not installed. A thread that waits for the crash, to do what needs memory then.
///
/// The heap of the crashing thread may be corrupt, or its lock held by that thread itself. This thread is
/// made beforehand and has allocated once, so that it has a heap of its own.

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

    /// Makes the thread, unless this process has it already. (A forked child has not.)
    void start(Work work);

    /// Has the work done, and waits for it within \p limit. Safe in a signal handler.
    /// \return whether it has come to its end; false at once if this process has no such thread, or calls
    /// from it.
    bool run(const wchar_t* path, const Minidump::TimeLimit& limit);

    /// Whether the calling thread is this one. Safe in a signal handler.
    bool isCurrent() const;
    /// Tells who waits that the work has crashed. Safe in a signal handler.
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
    int m_spareDescriptor = -1; // given up for the report, should the process have used up its descriptors
    std::atomic<std::int32_t> m_process{0}; // whose thread it is
    std::atomic<std::int32_t> m_thread{0};
    std::atomic<std::uint32_t> m_state{0};
};

} // namespace Brennic::Core
