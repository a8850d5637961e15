#include "crash/child/Situations.h"

#include "crash/child/PlatformSituations.h"

namespace Brennic::Testing {

bool enterSituation(const std::string& name, const std::filesystem::path& directory)
{
    const auto found = platformSituations().find(name);
    if (found == platformSituations().end())
        return false;
    found->second(directory);
    return true;
}

} // namespace Brennic::Testing
