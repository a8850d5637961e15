#pragma once
/// \file
/// Internal, not installed. The thread that writes the dumps of `DumpMiniDump`.
///
/// The system's writer suspends all threads but the one that it runs on, of which it cannot record the state. So
/// it runs on a thread of its own. That thread is started beforehand: the thread that asks for a dump may have
/// overflowed its stack, or hold the loader's lock, which a new thread needs.

#include <brn_mesh_common/Export.h>

namespace Brennic::Minidump {

/// Starts the thread, which loads the system's writer; once per process. Thread: any.
BRN_MESH_COMMON_EXPORT void prepareDumpThread();

} // namespace Brennic::Minidump
