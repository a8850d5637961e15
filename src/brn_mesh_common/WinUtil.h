#pragma once
/// \file
/// Writes a minidump of the current process: its threads, their stacks, its modules.
///
///     Brennic::WinUtil::DumpMiniDump(nullptr, L"/tmp/host.dmp"); // a look at a process that hangs, say
///
/// The crash filter of `brn_mesh_kernel` calls it with the exception that ends the process; a host calls it
/// with a null exception when it wants a dump without a crash, and goes on afterwards. `docs/crash.md` lists
/// what a dump holds and how to open one.
///
/// The process stands still while its memory is read: 1 ms with few threads, some more with many. On Windows, where
/// the system writes the dump, it takes as long as that does.

#include <brn_mesh_common/Export.h>

// NOLINTNEXTLINE(bugprone-reserved-identifier): the platform's name; on Linux see ExceptionPointers_linux.h
struct _EXCEPTION_POINTERS;

namespace Brennic::WinUtil {

/// Writes a minidump of the calling process to \p path.
///
/// The file appears under its name when it is complete; one that exists under that name is replaced, a link as
/// well. On Linux a device or a FIFO is written to. If nothing can be written there, the dump goes where a null
/// path sends it. A line on standard error names a file whose name the caller has not chosen, or says why there is no
/// dump. When space is short, a smaller dump (less of the stacks, in the end the calling thread alone) takes its
/// place.
///
/// \param exception where and why the calling thread was interrupted; null for a dump without a crash.
/// \param path the file, absolute or relative to the working directory; null means a new file in the
/// directory
///        for temporary files, named after the process, its id and the time.
/// \return whether a complete dump was written, wherever that is. Nothing is logged.
///
/// Thread: any; blocks until the file is finished, at most 4 seconds while nothing happens (on Windows 10), 25 in
/// all (on Windows 60). Of two calls at once the second waits for the first. On Linux safe in a signal handler:
/// allocates nothing and takes no lock that another thread can hold. On Windows a thread of the library's own writes;
/// the first call makes it, unless the kernel has.
BRN_MESH_COMMON_EXPORT bool DumpMiniDump(_EXCEPTION_POINTERS* exception, const wchar_t* path);

} // namespace Brennic::WinUtil
