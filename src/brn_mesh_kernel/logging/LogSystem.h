#pragma once
/// \file
/// Internal, not installed. Holds the log settings, attaches the appenders to the log4cplus root logger, and
/// decides which logger is current.
///
/// Takes no lock: the host's main thread drives it. Other threads may read and set the level, as log4cplus keeps
/// it, and may ask for the current logger and use it while it changes: both loggers live as long as the system.

#include <atomic>
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

    /// Borrowed. Thread: any.
    ILogger* CurrentLogger() const;

    /// Makes this system the one that \ref PublishedLoggerIfEnabled asks. It must never be destroyed.
    void Publish();
    /// The current logger of the published system if it writes records of this level, else null. Thread: any.
    static ILogger* PublishedLoggerIfEnabled(EKvsLogLevel level);

private:
    void setCurrent(bool writes);

    std::unique_ptr<Log4CplusLogger> m_logger;
    std::unique_ptr<ILogger> m_droppingLogger;
    std::atomic<ILogger*> m_current; // one of the two
    bool m_isPublished = false;
    bool m_truncateLogFile = false; // stored for the host; the file is always appended to
    std::wstring m_logFilePath;
    std::wstring m_messageFormat = defaultMessageFormat;
};

} // namespace Brennic::Core
