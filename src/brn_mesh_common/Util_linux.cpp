#include <brn_mesh_common/Util.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

#include <boost/nowide/convert.hpp>

namespace Brennic::Objects::Util {

namespace {

// Set once and never freed, so that a report written during a crash or at exit can read it.
std::atomic<const VersionInfo*> g_registered{nullptr};

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

Core::EKvsStatus RegisterVersionInfo(const VersionInfo& versionInfo)
{
    auto registered = std::make_unique<const VersionInfo>(versionInfo);
    const VersionInfo* none = nullptr;
    if (!g_registered.compare_exchange_strong(none, registered.get()))
        return Core::Failure;
    static_cast<void>(registered.release());
    return Core::Success;
}

Core::EKvsStatus QueryVersionInfo(VersionInfo& versionInfo)
{
    const VersionInfo* const registered = g_registered.load();
    if (registered == nullptr)
        return Core::Failure;
    versionInfo = *registered;
    return Core::Success;
}

std::wstring GetCurrentProcessName()
{
    const std::string name = executableFileName();
    return name.empty() ? L"process" : boost::nowide::widen(name);
}

} // namespace Brennic::Objects::Util
