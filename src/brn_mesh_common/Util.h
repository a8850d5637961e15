#pragma once
/// \file
/// Facts about the running program and its text: version texts, process name, UTF-8.
///
/// On Windows the version texts come from the version resources of the executable and of the kernel's library. On
/// Linux files carry none, so the host says once what it is:
///
///     using namespace Brennic::Objects;
///     Util::RegisterVersionInfo({L"Example Ltd", L"Example Module", L"2.1.0.512",
///                                L"Example Product", L"2.1.0.512"});
///
/// All functions may be called from any thread.

#include <string>

#include <brn_mesh_common/EKvsStatus.h>
#include <brn_mesh_common/Export.h>

namespace Brennic::Objects::Util {

/// The version texts of a product and of the file (module) that runs.
struct VersionInfo
{
    std::wstring companyName;        ///< the maker of the product
    std::wstring fileDescription;    ///< what the file is
    std::wstring fileVersion;        ///< version of the file, as text
    std::wstring productDescription; ///< what the product is
    std::wstring productVersion;     ///< version of the product, as text
};

/// Registers the version texts of the process, from which \ref QueryVersionInfo answers.
///
/// The first registration stands until the process ends: reports that are written while the process dies
/// read it without a lock.
/// \return `Success`, or `Failure` if texts are registered already (they stay; nothing is logged).
/// Thread: any. Allocates, so not for signal handlers.
BRN_MESH_COMMON_EXPORT Core::EKvsStatus RegisterVersionInfo(const VersionInfo& versionInfo);

/// Copies the version texts of the running program into \p versionInfo: those that were registered, else on Windows
/// those of the version resources.
///
/// \return `Success`, or `Failure` if none are known (\p versionInfo is unchanged; nothing is logged).
/// Thread: any. Takes no lock, but allocates, so not for signal handlers.
BRN_MESH_COMMON_EXPORT Core::EKvsStatus QueryVersionInfo(VersionInfo& versionInfo);

/// Returns the file name of the running executable, without its directory; on Windows without ".exe" too.
///
/// Never empty: "process" if the name is unknown.
/// Thread: any. Allocates, so not for signal handlers.
BRN_MESH_COMMON_EXPORT std::wstring GetCurrentProcessName();

/// Converts wide text to UTF-8, whatever the locale.
///
/// Embedded NUL characters are kept. What is no valid character (an unpaired surrogate, a value above
/// U+10FFFF) becomes U+FFFD.
/// Thread: any. Allocates, so not for signal handlers.
BRN_MESH_COMMON_EXPORT std::string ConvertToChar(const std::wstring& text);

} // namespace Brennic::Objects::Util
