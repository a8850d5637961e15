#pragma once
/// \file
/// Internal, not installed. Holds the log settings, attaches the appenders to the log4cplus root logger, and
/// decides which logger is current.
///
/// Takes no lock: the host's main thread drives it while nobody logs. Only the level may be read and set from
/// any thread, as log4cplus keeps it.

#include <memory>
#include <string>

#include <brn_mesh_kernel/kernel/EKvsLogLevel.h>
#include <brn_mesh_kernel/kernel/IService.h>
#include <brn_mesh_kernel/logging/ILogger.h>

namespace Brennic::Core {

class Log4CplusLogger;

class LogSystem : public IService
{
public:
    static constexpr const wchar_t* defaultMessageFormat = L"[%t] %-5p - %m%n";
    /// One XML element per record. Kept beside the default for hosts' patterns; nothing here selects it.
    static constexpr const wchar_t* xmlMessageFormat =
        L"  <event level=\"%p\" logger=\"%c\" thread=\"%t\" timestamp=\"%D\">%n    %m%n  </event>%n";

    /// Sets the log4cplus root level to `Info`. No appender is added, and the current logger drops
    /// everything.
    LogSystem();
    ~LogSystem() override;

    /// Adds a console appender and, with a path set, a rolling file appender to the root logger, each time it
    /// is called; then makes the log4cplus logger current. The pattern and the path are read here only.
    EKvsStatus Initialize() override;
    /// Makes a logger that drops everything current. The appenders stay.
    void Terminate() override;

    virtual bool TruncateLogFile() const;
    virtual EKvsStatus SetTruncateLogFile(bool truncate);
    virtual const wchar_t* LogFilePath() const;
    virtual EKvsStatus SetLogFilePath(const wchar_t* path);
    virtual const wchar_t* LogMessageFormat() const;
    virtual EKvsStatus SetLogMessageFormat(const wchar_t* format);
    virtual EKvsLogLevel LogLevel() const;
    virtual EKvsStatus SetLogLevel(EKvsLogLevel level);

    /// Whether messages show their control characters. Acts at once, in every state. Thread: any.
    bool ShowsControlCharacters() const;
    void SetShowsControlCharacters(bool shows);

    /// Borrowed; ends with the next \ref Initialize or \ref Terminate.
    ILogger* CurrentLogger() const;

private:
    std::unique_ptr<Log4CplusLogger> m_logger;
    std::unique_ptr<ILogger> m_overrideLogger; // current while set
    bool m_truncateLogFile = false;            // stored for the host; the file is always appended to
    std::wstring m_logFilePath;
    std::wstring m_messageFormat = defaultMessageFormat;
};

} // namespace Brennic::Core
