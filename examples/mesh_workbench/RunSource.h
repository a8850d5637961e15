#pragma once
/// \file
/// What the profiler counts in this program: iterations of all runs as frames, and the memory that is resident.
///
/// All of it belongs to the GUI thread.

#include <cstdint>

#include <brn_mesh_kernel/diagnostics/IProfilerSource.h>

class Pipeline;

class RunSource final : public Brennic::Core::IProfilerSource
{
public:
    /// Counts the iterations of this pipeline too, until \ref endRun; one at a time.
    void beginRun(const Pipeline& pipeline) { m_pipeline = &pipeline; }
    void endRun();

    std::int64_t MemoryUsage() override;
    std::int64_t FrameCount() override;

private:
    const Pipeline* m_pipeline = nullptr;
    std::int64_t m_ofEarlierRuns = 0;
};
