#pragma once
/// \file
/// Internal, not installed. Names of dump files, put together without allocation.

#include <cstdint>

#include <brn_mesh_common/minidump/FixedText.h>

namespace Brennic::Minidump {

using PathText = FixedText<4096>;

/// \p path as UTF-8, whatever the locale. Marked as cut if it is longer than the system allows.
PathText toUtf8Path(const wchar_t* path);

/// A name in the directory for temporary files, from the process's name and id, the time, and \p attempt if
/// it is not 0.
PathText temporaryDumpPath(std::int32_t process, std::uint32_t attempt);

/// The name, in the same directory, under which the dump is written until it is complete.
PathText partialPath(const PathText& path);

} // namespace Brennic::Minidump
