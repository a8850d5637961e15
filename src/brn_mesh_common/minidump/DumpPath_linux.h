#pragma once
/// \file
/// Internal, not installed. Names of dump files, put together without allocation.

#include <cstdint>

#include <brn_mesh_common/minidump/AtomicFile_linux.h>

namespace Brennic::Minidump {

/// \p path as UTF-8, whatever the locale. Marked as cut if it is longer than the system allows.
PathText toUtf8Path(const wchar_t* path);

/// A path in the directory for temporary files, made from the process's name and id, the time, and random
/// letters. Each call returns another one.
PathText temporaryDumpPath(std::int32_t process);

} // namespace Brennic::Minidump
