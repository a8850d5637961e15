#pragma once
/// \file
/// Internal, not installed. The thread that writes the dumps of `DumpMiniDump`.
///
/// The system's writer suspends all threads but its own, and cannot show a thread where it was if it runs on it. The thread
/// that asks may also have overflowed its stack, or hold the lock without which no new thread begins.

#include <brn_mesh_common/Export.h>

namespace Brennic::Minidump {

/// Makes the thread and loads the system's writer, once per process. Thread: any.
BRN_MESH_COMMON_EXPORT void prepareDumpThread();

} // namespace Brennic::Minidump
