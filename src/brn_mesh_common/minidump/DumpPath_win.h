#pragma once
/// \file
/// Internal, not installed. The path of a dump for which the caller has given none.

#include <array>
#include <cstddef>

namespace Brennic::Minidump {

/// As long as the system's functions may need it, so that no memory is allocated for it.
using PathBuffer = std::array<wchar_t, 32768>;

/// Sets \p path to a new file in the directory for temporary files, named after the process, its id and the
/// time (UTC), and random letters. \return false if there is no such directory.
bool makeTemporaryDumpPath(PathBuffer& path);

/// Of a random name, with its terminator.
constexpr std::size_t randomNameSize = 13;

/// Makes a random name of letters and digits.
void makeRandomName(wchar_t* name);

/// Sets \p result to \p path and \p extension. \return false if that is too long.
bool appendExtension(const wchar_t* path, const wchar_t* extension, PathBuffer& result);

} // namespace Brennic::Minidump
