#pragma once
/// \file
/// The kernel between its start and its orderly end, as this program uses it.

#include <brn_mesh_kernel/kernel/Kernel.h>

struct Options;

class KernelSession
{
public:
    /// Starts the kernel with the options' log file, level and pattern. The source must outlive the session.
    KernelSession(const Options& options, Brennic::Core::IProfilerSource& source);
    ~KernelSession();
    KernelSession(const KernelSession&) = delete;
    KernelSession& operator=(const KernelSession&) = delete;
};
