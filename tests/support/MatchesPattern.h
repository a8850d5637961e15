#pragma once
/// \file
/// Matching by regular expressions. GoogleTest's own matcher knows little more than "." and "*" on Windows.

#include <regex>
#include <string>

#include <gmock/gmock.h>

namespace Brennic::Testing {

/// Matches text that is as the ECMAScript regular expression says, from its beginning to its end.
MATCHER_P(MatchesPattern, pattern, "matches " + std::string(pattern))
{
    static_cast<void>(result_listener);
    return std::regex_match(std::string(arg), std::regex(pattern));
}

} // namespace Brennic::Testing
