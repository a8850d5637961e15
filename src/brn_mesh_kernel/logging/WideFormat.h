#pragma once
/// \file
/// Internal, not installed. The wide printf dialect of the loggers, the same on every platform.
///
/// The C library's own wide printf is not enough: what `%s` takes depends on the platform, narrow text is
/// converted by the C locale and makes the whole call fail where it cannot be, and there is no way to ask
/// for the length. Text conversions are therefore made here; numbers are left to the C library.

#include <cstdarg>
#include <string>

namespace Brennic::Core {

/// Formats as `ILogger` promises. Expects lower-case conversion letters.
///
/// A conversion is copied unchanged and uses no argument if the dialect does not know it, or if another
/// conversion takes the same argument as a different type. `%n` uses its argument and stores nothing.
///
/// \param error what `%m` describes.
std::wstring formatWide(const wchar_t* format, std::va_list arguments, int error);

} // namespace Brennic::Core
