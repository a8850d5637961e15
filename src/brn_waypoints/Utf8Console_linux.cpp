#include <brn_waypoints/Utf8Console.h>

namespace Brennic::Waypoints {

// Terminals take it as it is.
class Utf8Console::Impl
{
};

Utf8Console::Utf8Console() = default;
Utf8Console::~Utf8Console() = default;

} // namespace Brennic::Waypoints
