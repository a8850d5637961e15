#pragma once
/// \file
/// Whether the tests are built with a sanitizer, which keeps memory back and slows threads down.

namespace Brennic::Testing {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

#if defined(__SANITIZE_THREAD__)
constexpr bool isThreadSanitized = true;
#else
constexpr bool isThreadSanitized = false;
#endif

} // namespace Brennic::Testing
