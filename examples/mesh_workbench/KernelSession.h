#pragma once
/// \file
/// The kernel between its start and its orderly end, as this program uses it: one session for all runs.

#include "RunSource.h"

struct RunOptions;

class KernelSession
{
public:
    /// Starts the kernel with the options' log file, level and pattern.
    explicit KernelSession(const RunOptions& options);
    ~KernelSession();
    KernelSession(const KernelSession&) = delete;
    KernelSession& operator=(const KernelSession&) = delete;

    /// What the profiler reads; each run enters itself.
    RunSource& source() { return m_source; }

private:
    RunSource m_source;
};
