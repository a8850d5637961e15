#pragma once
/// \file
/// What a host implements so that profiler waypoints count frames and memory.
///
///     struct Source final : Brennic::Core::IProfilerSource {
///         std::int64_t MemoryUsage() override { return residentBytes(); }
///         std::int64_t FrameCount() override { return framesDrawn; }
///     };
///     Source source;
///     Brennic::Core::Kernel::Instance().SetProfilerSource(&source); // before Initialize()
///
/// Both functions are called on the thread that calls the kernel (the host's main thread), frames before
/// memory, with no lock held. They must not call the kernel back. An exception passes through to the caller
/// of the kernel, and the waypoint is not recorded; a call that was to open a run has not, and one that was
/// to end a run or to replace the source has. The library never copies or deletes a source: the host keeps it
/// alive until it has set another one or none, or has called `Kernel::Terminate()`.

#include <cstdint>

namespace Brennic::Core {

/// Counts frames and memory for the profiler.
class IProfilerSource
{
public:
    /// The memory that the process uses, in bytes. What counts as used is the host's choice: only differences
    /// are reported.
    /// Thread: main thread.
    virtual std::int64_t MemoryUsage() = 0;

    /// A running count of frames. Only differences are reported.
    /// Thread: main thread.
    virtual std::int64_t FrameCount() = 0;

protected:
    /// An interface has no state of its own.
    /// Thread: any.
    IProfilerSource() = default;

    /// Copies nothing.
    /// Thread: any.
    IProfilerSource(const IProfilerSource&) = default;

    /// Copies nothing.
    /// Thread: any.
    IProfilerSource& operator=(const IProfilerSource&) = default;

    ~IProfilerSource() = default; // not virtual: sources are not deleted through this interface
};

} // namespace Brennic::Core
