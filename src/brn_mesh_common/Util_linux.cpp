#include <brn_mesh_common/Util.h>

#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_common/VersionResources.h>

namespace Brennic::Objects::Util {

namespace {

// What the kernel appends to the link's target once the executable has been deleted or replaced.
constexpr std::string_view deletedMark = " (deleted)";

std::string withoutDeletedMark(std::string path)
{
    const bool isMarked =
        path.size() > deletedMark.size() &&
        path.compare(path.size() - deletedMark.size(), deletedMark.size(), deletedMark) == 0;
    if (isMarked && !std::filesystem::exists(path))
        path.resize(path.size() - deletedMark.size());
    return path;
}

std::string executableFileName()
{
    std::error_code error;
    const std::filesystem::path link = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error)
        return std::filesystem::path(withoutDeletedMark(link.string())).filename().string();
    return program_invocation_short_name; // no /proc, as in a bare chroot
}

} // namespace

std::wstring GetCurrentProcessName()
{
    const std::string name = executableFileName();
    return name.empty() ? L"process" : boost::nowide::widen(name);
}

// Executables and shared objects carry no version texts here.
bool readVersionResources(VersionInfo& /*versionInfo*/)
{
    return false;
}

} // namespace Brennic::Objects::Util
