#include "crash/child/PlatformPlaces.h"

namespace Brennic::Testing {

const Places& platformPlaces()
{
    static const Places none;
    return none;
}

} // namespace Brennic::Testing
