#include <brn_mesh_common/VersionResources.h>

namespace Brennic::Objects::Util {

// Executables and shared objects carry no version texts here.
bool readVersionResources(VersionInfo& /*versionInfo*/)
{
    return false;
}

} // namespace Brennic::Objects::Util
