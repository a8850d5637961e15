#include <brn_mesh_common/Util.h>

#include <atomic>
#include <memory>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_common/ValidUnicode.h>
#include <brn_mesh_common/VersionResources.h>

namespace Brennic::Objects::Util {

namespace {

// Set once and never freed, so that a report written during a crash or at exit can read it.
std::atomic<const VersionInfo*> g_registered{nullptr};

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
        return readVersionResources(versionInfo) ? Core::Success : Core::Failure;
    versionInfo = *registered;
    return Core::Success;
}

// On Windows, Nowide's conversion would take the character after a lone first half along with it.
std::string ConvertToChar(const std::wstring& text)
{
    if constexpr (sizeof(wchar_t) == sizeof(char16_t))
        return boost::nowide::narrow(validUnicode(text));
    else
        return boost::nowide::narrow(text);
}

} // namespace Brennic::Objects::Util
