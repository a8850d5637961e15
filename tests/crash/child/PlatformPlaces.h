#pragma once
/// \file
/// The places of a crash that only some platforms have, by name.

#include <functional>
#include <map>
#include <string>

namespace Brennic::Testing {

using Function = std::function<void()>;
using Places = std::map<std::string, std::function<void(const Function&)>>;

const Places& platformPlaces();

} // namespace Brennic::Testing
