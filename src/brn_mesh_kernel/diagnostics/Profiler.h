#pragma once
/// \file
/// Internal, not installed. Records waypoints: time, frames and memory between named points of a run.
///
/// A run is open from \ref Start to \ref Stop; each waypoint measures from the one before it. Records are
/// kept across runs until the profiler ends. Takes no lock: one thread at a time drives it.

#include <cstdint>
#include <string>
#include <vector>

#include <brn_mesh_kernel/diagnostics/IProfilerSource.h>
#include <brn_mesh_kernel/diagnostics/WaypointReport.h>
#include <brn_mesh_kernel/kernel/IService.h>

namespace Brennic::Core {

class ILogger;

/// The system's high-resolution clock, as two functions so that a test can replace it.
struct PerformanceCounter
{
    std::int64_t (*frequency)(); ///< ticks per second; 0 if there is no such counter
    std::int64_t (*now)();       ///< ticks since some fixed moment
};

/// The performance counter of Windows, `CLOCK_MONOTONIC` on Linux.
PerformanceCounter systemPerformanceCounter();

class Profiler : public IService
{
public:
    explicit Profiler(PerformanceCounter counter = systemPerformanceCounter());

    /// Asks for the counter's frequency.
    /// \return `Failure` if it is zero; then no run opens and no waypoint is recorded.
    EKvsStatus Initialize() override;
    /// Ends an open run.
    void Terminate() override;

    /// Opens a run; one that is open ends first.
    void Start();
    /// Ends an open run with a waypoint named "END"; does nothing without one.
    void Stop();

    /// \return `NotRunning` without an open run, and nothing is recorded.
    EKvsStatus AddWaypoint(const wchar_t* name);

    IProfilerSource* Source() const;
    /// Replaces the source, which ends an open run. The source that is set already changes nothing.
    EKvsStatus SetSource(IProfilerSource* source);

    std::vector<Waypoint> Waypoints() const;

    /// Milliseconds since the previous mark, and marks. Records nothing; 0 without a frequency.
    std::int64_t ElapsedSinceMark();

    /// Writes all records as XML; see WaypointReport.h.
    EKvsStatus WriteWaypointReport(const std::wstring& path) const;

private:
    class MarkReset;

    std::int64_t frameCount() const;
    std::int64_t memoryUsage() const;

    IProfilerSource* m_source = nullptr;
    std::int64_t m_frequency = 0;
    std::int64_t m_markCounter = 0; // 0: no run is open
    std::int64_t m_markMemory = 0;
    std::int64_t m_markFrames = 0;
    std::vector<Waypoint> m_waypoints;
    PerformanceCounter m_counter;
};

/// Writes one summary line per record to the logger, at level `Trace`.
void LogWaypoints(const Profiler& profiler, ILogger& logger);

} // namespace Brennic::Core
