#pragma once
/// \file
/// What the profiler counts in this program: iterations as frames, and the memory that is resident.

#include <cstdint>

#include <brn_mesh_kernel/diagnostics/IProfilerSource.h>

class Pipeline;

class ProcessSource final : public Brennic::Core::IProfilerSource
{
public:
    explicit ProcessSource(const Pipeline& pipeline) : m_pipeline(pipeline) {}

    std::int64_t MemoryUsage() override;
    std::int64_t FrameCount() override;

private:
    const Pipeline& m_pipeline;
};
