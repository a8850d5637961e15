#pragma once
/// \file
/// Paths as text: joining a directory and a name, and taking the directory part.
///
///     const std::wstring directory = FileUtil::GetDirectoryPathFromFilePath(L"logs/host.log"); // "logs"
///     const std::wstring dump = FileUtil::Combine(directory, L"host.dmp");                     // "logs/host.dmp"
///
/// Nothing here touches the file system. All functions may be called from any thread.

#include <string>

#include <brn_mesh_common/Export.h>

namespace Brennic::Objects::FileUtil {

/// Joins \p directory and \p name with one separator.
///
/// An empty directory gives the name alone, and a directory that ends in a separator gets no second one.
/// Thread: any. Allocates, so not for signal handlers.
BRN_MESH_COMMON_EXPORT std::wstring Combine(const std::wstring& directory, const std::wstring& name);

/// Returns the directory part of \p filePath, without a separator at its end.
///
/// Empty if the path has no directory part ("a.log"); the root stays the root ("/a.log" gives "/").
/// Thread: any. Allocates, so not for signal handlers.
BRN_MESH_COMMON_EXPORT std::wstring GetDirectoryPathFromFilePath(const std::wstring& filePath);

} // namespace Brennic::Objects::FileUtil
