#pragma once
/// \file
/// Limits of time that hold on a busy machine too.

#include <chrono>

#include <gtest/gtest.h>

namespace Brennic::Testing {

/// Succeeds if \p time is below \p limit, in milliseconds. If it is not, the limit grows by as much as other programs slow
/// down a thread that only computes, which is measured then: on an idle machine it stays.
::testing::AssertionResult isBelow(std::chrono::milliseconds time, int limit);

} // namespace Brennic::Testing
