#pragma once
/// \file
/// The door to the library: the process-wide kernel that owns logging, profiling and crash handling.
///
///     Brennic::Core::Kernel& kernel = Brennic::Core::Kernel::Instance();
///     kernel.SetLogFilePath(L"host.log");
///     kernel.Initialize();
///     kernel.Logger()->Log(Brennic::Core::Info, L"%s is ready", L"host");
///     kernel.ProfilerWaypoint(L"Start");
///     kernel.Terminate();
///
/// The host makes the first call of `Instance()` and sets what it wants to set, calls `Initialize()`, works,
/// and calls `Terminate()` before the process ends. The kernel takes no locks: all of this is for the host's
/// main thread, while no other thread logs or records waypoints. From any thread, between `Initialize()` and
/// `Terminate()`: `Instance()`, `Logger()`, `LoggerIfEnabled()` and what they give, `LogLevel()`, `SetLogLevel()`,
/// `SetShowsControlCharacters()`.
///
/// No call is refused in any state. Strings are copied before a call returns and must not be null; those that
/// are returned stay valid until the same setting is set again.

#include <functional>
#include <memory>

#include <brn_mesh_kernel/kernel/EKvsLogLevel.h>
#include <brn_mesh_kernel/kernel/EKvsStatus.h>
#include <brn_mesh_kernel/kernel/IService.h>
#include <brn_mesh_kernel/library/Export.h>

namespace Brennic::Core {

class ILogger;
class IProfilerSource;

/// The run-time services of the process, behind one door.
class BRN_MESH_KERNEL_EXPORT Kernel : public IService
{
public:
    /// Makes a kernel of the host's own, beside the one that \ref Instance gives. Sets the log level to
    /// `Info`.
    ///
    /// Log4cplus, its level and appenders, and the crash settings belong to the process: kernels share them.
    /// Thread: main thread.
    Kernel();
    /// Ends the services without calling \ref Terminate.
    ~Kernel() override;
    Kernel(const Kernel&) = delete;
    Kernel& operator=(const Kernel&) = delete;

    /// The kernel of the process, made by the first call.
    ///
    /// Throws what its construction throws; the next call tries again. Not safe in a signal handler.
    /// Thread: any. Ownership: the library's, which never destroys it.
    static Kernel& Instance();

    /// Starts the services: attaches a console appender and, if a path is set, a log file to the log4cplus
    /// root logger, makes the writing logger current, sets up crash handling beside the log file (in the
    /// working directory without one), and opens a profiling run.
    ///
    /// Each call attaches its appenders once more, so a second call doubles every line.
    /// \return `Success`, always. A log file that cannot be opened is reported by log4cplus on standard error
    /// and tried again later; its directory is not created.
    /// Thread: main thread.
    EKvsStatus Initialize() override;

    /// Stops the services in reverse order: ends the profiling run with a waypoint "END", lets go of the
    /// profiler source, logs a summary line per waypoint at level `Trace`, and makes a logger current that
    /// drops everything. Appenders stay attached, and crashes are still caught. Thread: main thread.
    void Terminate() override;

    /// The stored flag, `false` at first.
    /// Thread: main thread.
    virtual bool TruncateLogFile() const;
    /// Stores a flag for the host to keep. The log file is appended to, whatever it says.
    /// \return `Success`. Thread: main thread.
    virtual EKvsStatus SetTruncateLogFile(bool truncate);

    /// The path of the log file, or null if none is set (as at first).
    /// Thread: main thread. Ownership: the kernel's, until the path is set again.
    virtual const wchar_t* LogFilePath() const;
    /// Sets the path of the log file; an empty one means no file. Takes effect with the next \ref Initialize.
    ///
    /// The file is appended to, and rolled over into one backup (".1") when it passes 10 MiB.
    /// \return `Success`. Thread: main thread.
    virtual EKvsStatus SetLogFilePath(const wchar_t* path);

    /// The log4cplus layout pattern, "[%t] %-5p - %m%n" at first; null if an empty one was set.
    /// Thread: main thread. Ownership: the kernel's, until the format is set again.
    virtual const wchar_t* LogMessageFormat() const;
    /// Sets the layout pattern; an empty one means the default. Takes effect with the next \ref Initialize.
    /// \return `Success`. Thread: main thread.
    virtual EKvsStatus SetLogMessageFormat(const wchar_t* format);

    /// The level of the log4cplus root logger, also if somebody else has set it.
    /// Thread: any.
    virtual EKvsLogLevel LogLevel() const;
    /// Sets the level of the log4cplus root logger at once, without a range check.
    /// \return `Success`. Thread: any.
    virtual EKvsStatus SetLogLevel(EKvsLogLevel level);

    /// Whether messages show their control characters; `false` at first.
    /// Thread: any.
    bool ShowsControlCharacters() const;
    /// Sets whether line breaks, escape characters and the like of messages are written visibly, such as "\\n" and
    /// "\\x1b": a name that a host logs can then neither forge a record nor command a terminal. A tab stays, and so
    /// does what the layout pattern writes. Acts at once, on all copies of a record.
    /// \return `Success`. Thread: any.
    EKvsStatus SetShowsControlCharacters(bool shows);

    /// The current logger: one that drops everything before \ref Initialize and after \ref Terminate. Never
    /// null. Thread: any. Ownership: the kernel's, until the next \ref Initialize or \ref Terminate.
    ILogger* Logger() const;

    /// The current logger of the kernel that \ref Instance gives, if it writes records of this level, else null. Makes no
    /// kernel.
    ///
    /// For those who log often at levels that are mostly off: to be told so costs what `ILogger::IsEnabled` does. `BRN_LOG`
    /// of Log.h asks this way.
    /// Thread: any. Ownership: the kernel's, until the next \ref Initialize or \ref Terminate.
    static ILogger* LoggerIfEnabled(EKvsLogLevel level);

    /// The source of frame and memory figures, or null (as at first).
    /// Thread: main thread. Ownership: the host's.
    IProfilerSource* ProfilerSource() const;
    /// Sets the source, null for none. Another source than the present one ends an open run with a waypoint
    /// "END"; the next run opens with \ref Initialize.
    /// \return `Success`. Thread: main thread. Ownership: stays with the host, see IProfilerSource.h.
    EKvsStatus SetProfilerSource(IProfilerSource* source);

    /// Records a waypoint: milliseconds, frames and memory since the waypoint before, or since \ref
    /// Initialize. \return `Success`, or `NotRunning` if no run is open (nothing is recorded or logged).
    /// Thread: main thread.
    EKvsStatus ProfilerWaypoint(const wchar_t* name);

    /// Writes all waypoints recorded since the kernel was made, with the version texts, to an XML file
    /// (UTF-8). Numbers are written as the global C++ locale writes them.
    ///
    /// The report is written beside the file, as "NAME.RANDOM.part", and renamed when it is whole: under its name is the
    /// older report or the new one. A link under the name is replaced, and what it leads to is left alone. A device, a
    /// FIFO and the name of an open descriptor are written to, also by a link of the user's own. Where no file can be
    /// made beside it, or it cannot be replaced, a file that may be written is written itself; what may not be written is
    /// not replaced.
    /// \return `Success`. Throws `boost::property_tree::xml_parser_error`, a `std::runtime_error`, if the
    /// file cannot be opened ("cannot open file") or written ("write error"); an older report is then still there,
    /// but for a file that is written itself. On Linux `errno` says why. Nothing is logged. Thread: main thread.
    EKvsStatus SaveWaypointsToXml(const wchar_t* filePath);

    /// Sets what is called when the process crashes, with the path of the crash dump ("" if there is none).
    /// An empty handler clears. Whatever the handler returns, the process then ends with exit code 1.
    ///
    /// The handler runs on the crashing thread, in a broken process: show, start or write as little as
    /// possible. \return `Success`. Thread: main thread. Ownership: a copy is kept until the process ends.
    EKvsStatus SetSendCrashDumpHandler(const std::function<bool(const wchar_t*)>& handler);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace Brennic::Core
