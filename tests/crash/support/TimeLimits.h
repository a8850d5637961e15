#pragma once
/// \file
/// Limits of time that hold on a busy machine too.

#include <chrono>

#include <gtest/gtest.h>

namespace Brennic::Testing {

/// By how much the machine's other programs slow down a thread that only computes: 1 on an idle machine.
double slowdownByOthers();

/// Succeeds if \p time is below \p limit, in milliseconds, or would be on an idle machine. The load is measured only after
/// the fact, so what ends before it matters is taken for a fault.
::testing::AssertionResult isBelow(std::chrono::milliseconds time, int limit);

} // namespace Brennic::Testing
