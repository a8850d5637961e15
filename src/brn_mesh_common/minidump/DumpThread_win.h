#pragma once
/// \file
/// Internal, not installed. A thread that waits to write a dump of the process.
///
/// The system's writer suspends all threads but its own, and cannot show a thread where it was if it runs on it. The thread
/// that asks may also have overflowed its stack, or hold the lock without which no new thread begins.

#include <brn_mesh_common/Export.h>

struct _EXCEPTION_POINTERS; // NOLINT(bugprone-reserved-identifier): the platform's name

namespace Brennic::Minidump {

/// Makes the thread and loads the system's writer, once per process. Thread: any.
BRN_MESH_COMMON_EXPORT void prepareDumpThread();

/// Has a dump of the process written, the calling thread as the one that crashed, and waits for it.
/// \return whether a complete one was written in time. Thread: any; takes little stack.
bool dumpOnDumpThread(_EXCEPTION_POINTERS* exception, const wchar_t* path);

} // namespace Brennic::Minidump
