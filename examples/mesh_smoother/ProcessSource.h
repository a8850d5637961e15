#pragma once
/// \file
/// What the profiler counts in this program: iterations as frames, and the memory that is resident.

#include <cstdint>

#include <brn_mesh_kernel/diagnostics/IProfilerSource.h>

class ProcessSource final : public Brennic::Core::IProfilerSource
{
public:
    std::int64_t MemoryUsage() override;
    std::int64_t FrameCount() override;

    void countIteration() { ++m_iterations; }

private:
    std::int64_t m_iterations = 0;
};
