#pragma once
/// \file
/// Internal, not installed. The waypoint report that is written when the process crashes.

namespace Brennic::Core {

/// Writes the waypoints of the process's kernel to \p path. An error leaves no report, and nothing else.
/// Thread: any that may allocate.
void writeCommandLog(const wchar_t* path) noexcept;

} // namespace Brennic::Core
