#pragma once
/// \file
/// Internal, not installed. Catches what would end the process, and takes its last steps:
///
/// 1. The waypoint report is written to the command log's path, if one is set.
/// 2. The minidump is written to the dump file's path, or where a null path sends it.
/// 3. The host's handler is called on the crashing thread with the dump file's path, and the process ends
///    with exit code 1. Without a handler the platform's own handling of the crash goes on.
///
/// One crash is handled per process: threads that crash meanwhile wait until the process ends. A step that
/// itself crashes, or exceeds its time limit, is abandoned, and the next step follows.
///
/// Where to read on: ExceptionHandler.cpp installs the filter. On Linux CrashFilter_linux.cpp has the signal
/// handler, which decides what the thread is to do. CrashSteps_linux.cpp takes the steps: the first on the
/// thread of CrashReportThread_linux.cpp, the second by `WinUtil::DumpMiniDump` (WinUtil_linux.cpp of
/// `brn_mesh_common`), and without a host's handler CrashSignals_linux.cpp ends the process. On Windows these
/// are CrashFilter_win.cpp, CrashSteps_win.cpp and CrashThread_win.cpp. CrashSettings.h holds the paths and
/// the handler.

namespace Brennic::Core::CrashFilter {

/// Writes the waypoint report of the process. An error costs the report alone. The kernel's is in
/// kernel/KernelImpl.cpp.
/// Thread: one of the filter's own, which may allocate.
using ReportWriter = void (*)(const wchar_t* path) noexcept;

/// Installs the filter for the process, and gives the calling thread a CrashStack until it ends.
/// May be called again, by a host that has had its own handlers installed since.
/// \param writeReport is called for step 1. It is handed in because the filter does not know the kernel,
///        which has the waypoints.
/// Thread: main thread.
void install(ReportWriter writeReport);

} // namespace Brennic::Core::CrashFilter
