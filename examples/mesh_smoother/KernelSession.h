#pragma once
/// \file
/// The kernel between its start and its orderly end, as this program uses it, and what its profiler counts.

#include <cstdint>

#include <brn_mesh_kernel/diagnostics/IProfilerSource.h>
#include <brn_mesh_kernel/kernel/Kernel.h>

class Pipeline;
struct Options;

/// Counts iterations as frames, and the memory that is resident.
class ProcessSource final : public Brennic::Core::IProfilerSource
{
public:
    explicit ProcessSource(const Pipeline& pipeline) : m_pipeline(pipeline) {}

    std::int64_t MemoryUsage() override;
    std::int64_t FrameCount() override;

private:
    const Pipeline& m_pipeline;
};

class KernelSession
{
public:
    /// Starts the kernel with the options' log file, level and pattern. The source must outlive the session.
    KernelSession(const Options& options, Brennic::Core::IProfilerSource& source);
    ~KernelSession();
    KernelSession(const KernelSession&) = delete;
    KernelSession& operator=(const KernelSession&) = delete;
};
