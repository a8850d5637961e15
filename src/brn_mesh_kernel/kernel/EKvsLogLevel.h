#pragma once
/// \file
/// How important a log record is, and from which importance on records are written.
///
///     Brennic::Core::Kernel::Instance().SetLogLevel(Brennic::Core::Warn);
///
/// The values are the log4cplus level numbers: a level set here reads the same through log4cplus and the
/// other way round, and a number that is not listed passes through unchanged.

#include <cstdint>

namespace Brennic::Core {

/// The importance of a record; the numbers are those of log4cplus.
enum EKvsLogLevel : std::int32_t
{
    Trace = 0,
    Debug = 10000,
    /// The level that the library starts with.
    Info = 20000,
    Warn = 30000,
    Error = 40000,
    Fatal = 50000,
    /// Above every record: as the log level it silences all of them.
    Off = 60000,
};

} // namespace Brennic::Core
