#pragma once
/// \file
/// The logger through which the library and its host write records.
///
///     Brennic::Core::ILogger* const logger = Brennic::Core::Kernel::Instance().Logger();
///     logger->Log(Brennic::Core::Info, L"loaded %s with %d vertices", name.c_str(), count);
///
/// Formats are wide printf formats. **The format is lower-cased before it is used**, its literal text and its
/// conversion letters alike ("%S" becomes "%s", "%X" becomes "%x"); arguments keep their case. What the
/// conversions take is the same on every platform:
///
/// - `%s`, `%ls`, `%c`, `%lc`: wide text; `%hs`, `%hc`: narrow text, UTF-8. A null string prints "(null)".
/// - `%d %i %u %x %o` with `hh h l ll j z t`; `%f %e %g %a`; `%p`; `%%`; flags, width, precision and `*`.
/// - `%m`: the text of `errno`. `%2$s`: the second argument, where all have such positions.
/// - A conversion that is none of these is copied as it stands, and takes no argument.
///
/// Loggers are made and owned by the kernel. A pointer that `Kernel::Logger()` gave is borrowed and ends with
/// the next `Kernel::Initialize()` or `Kernel::Terminate()`. Every function may be called from any thread at
/// the same time, but not from a signal handler: formatting allocates, and writing takes locks.
///
/// Logging is safe until the process is gone: records from exit handlers, static destructors and threads that
/// run on beyond them are written or left out. A forked child may log; when it calls `exit()`, it ends before
/// the libraries' own ends, in which log4cplus would wait for the parent's threads.

#include <brn_mesh_kernel/kernel/EKvsLogLevel.h>
#include <brn_mesh_kernel/library/Export.h>

namespace Brennic::Core {

/// What a host logs through.
class BRN_MESH_KERNEL_EXPORT ILogger
{
public:
    /// An interface has no state of its own.
    /// Thread: any.
    ILogger() = default;

    /// Copies nothing.
    /// Thread: any.
    ILogger(const ILogger&) = default;

    /// Copies nothing.
    /// Thread: any.
    ILogger& operator=(const ILogger&) = default;

    /// Ends a logger; the kernel does this with its own ones.
    /// Thread: any.
    virtual ~ILogger();

    /// Tells whether a record of this level would be written. Ask before building arguments that cost.
    /// Thread: any.
    virtual bool IsEnabled(EKvsLogLevel level) = 0;

    /// Writes a record that carries its place in the source, for layouts that print it (`%l`, `%F`, `%L`,
    /// `%M`).
    ///
    /// \param level the importance of the record.
    /// \param file source file, narrow, as `__FILE__` gives it; may be null.
    /// \param line line in \p file.
    /// \param function narrow, as `__func__` gives it; may be null.
    /// \param format see the head of this file. With null nothing happens. There is no length limit.
    /// Arguments that do not match the format are undefined behaviour, as with any printf. Text that is no
    /// valid Unicode is written with U+FFFD in its place. An appender that cannot write drops the record.
    /// Throws what allocation throws.
    /// Thread: any.
    virtual void LogWithLocation(EKvsLogLevel level, const char* file, int line, const char* function,
                                 const wchar_t* format, ...) = 0;

    /// Writes a record; as \ref LogWithLocation, without a place in the source.
    ///
    /// At a level that is not enabled this costs one level comparison: nothing is formatted or allocated.
    /// Thread: any.
    virtual void Log(EKvsLogLevel level, const wchar_t* format, ...) = 0;
};

} // namespace Brennic::Core
