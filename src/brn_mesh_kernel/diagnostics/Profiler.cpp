#include <brn_mesh_kernel/diagnostics/Profiler.h>

#include <utility>

#include <brn_mesh_kernel/logging/ILogger.h>

namespace Brennic::Core {

namespace {

// Computes ticks * 1000 / frequency in two parts, because the product overflows after some months of
// nanoseconds.
std::int64_t toMilliseconds(std::int64_t ticks, std::int64_t frequency)
{
    return ticks / frequency * 1000 + ticks % frequency * 1000 / frequency;
}

} // namespace

// Clears the marks when a run ends, also if the host's source throws: a run that stayed open would never end.
class Profiler::MarkReset
{
public:
    explicit MarkReset(Profiler& profiler) : m_profiler(profiler) {}
    ~MarkReset() { m_profiler.m_markCounter = m_profiler.m_markMemory = m_profiler.m_markFrames = 0; }
    MarkReset(const MarkReset&) = delete;
    MarkReset& operator=(const MarkReset&) = delete;

private:
    Profiler& m_profiler;
};

Profiler::Profiler(PerformanceCounter counter) : m_counter(counter) {}

EKvsStatus Profiler::Initialize()
{
    m_frequency = m_counter.frequency();
    return m_frequency == 0 ? Failure : Success;
}

void Profiler::Terminate()
{
    Stop();
}

void Profiler::Start()
{
    Stop();
    if (m_frequency == 0)
        return;
    const std::int64_t now = m_counter.now();
    const std::int64_t frames = frameCount();
    m_markMemory = memoryUsage();
    m_markFrames = frames;
    m_markCounter = now; // last: a source that throws leaves no run open
}

void Profiler::Stop()
{
    if (m_markCounter == 0)
        return;
    const MarkReset reset(*this);
    AddWaypoint(L"END");
}

EKvsStatus Profiler::AddWaypoint(const wchar_t* name)
{
    if (m_markCounter == 0 || m_frequency == 0)
        return NotRunning;
    // Ask the source and copy the name before reading the clock: if either throws, the mark has not moved.
    const std::int64_t frames = frameCount();
    const std::int64_t memory = memoryUsage();
    Waypoint waypoint{name, 0, frames - m_markFrames, memory - m_markMemory};
    waypoint.elapsed = ElapsedSinceMark();
    m_waypoints.push_back(std::move(waypoint));
    m_markFrames = frames;
    m_markMemory = memory;
    return Success;
}

IProfilerSource* Profiler::Source() const
{
    return m_source;
}

EKvsStatus Profiler::SetSource(IProfilerSource* source)
{
    if (source == m_source)
        return Success;
    // Stop() asks the earlier source once more, for the waypoint "END". If that throws, the source is
    // replaced all the same: the host may destroy it now.
    try {
        Stop();
    } catch (...) {
        m_source = source;
        throw;
    }
    m_source = source;
    return Success;
}

std::vector<Waypoint> Profiler::Waypoints() const
{
    return m_waypoints;
}

std::int64_t Profiler::ElapsedSinceMark()
{
    const std::int64_t now = m_counter.now();
    const std::int64_t elapsed = m_frequency == 0 ? 0 : toMilliseconds(now - m_markCounter, m_frequency);
    m_markCounter = now;
    return elapsed;
}

EKvsStatus Profiler::WriteWaypointReport(const std::wstring& path) const
{
    return Core::WriteWaypointReport(m_waypoints, path);
}

std::int64_t Profiler::frameCount() const
{
    return m_source != nullptr ? m_source->FrameCount() : 0;
}

std::int64_t Profiler::memoryUsage() const
{
    return m_source != nullptr ? m_source->MemoryUsage() : 0;
}

// The logger lower-cases the format: "Frame count" is logged as "frame count", and "%S" takes wide text.
void LogWaypoints(const Profiler& profiler, ILogger& logger)
{
    for (const Waypoint& waypoint : profiler.Waypoints())
        logger.Log(Trace, L"%S >>>> Frame count: %lld / Elapsed: %.3f s / Memory: %+lld MB",
                   waypoint.name.c_str(), static_cast<long long>(waypoint.frames),
                   static_cast<double>(waypoint.elapsed) / 1000.0,
                   static_cast<long long>(waypoint.memory / 1048576));
}

} // namespace Brennic::Core
