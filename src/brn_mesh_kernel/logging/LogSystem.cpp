#include <brn_mesh_kernel/logging/LogSystem.h>

#include <log4cplus/layout.h>
#include <log4cplus/logger.h>

#include <brn_mesh_kernel/logging/Log4CplusLogger.h>
#include <brn_mesh_kernel/logging/Log4cplusText.h>
#include <brn_mesh_kernel/logging/LogGate.h>
#include <brn_mesh_kernel/logging/NoOpLogger.h>

namespace Brennic::Core {

namespace {

constexpr long maxFileSizeInBytes = 10L * 1024 * 1024;
constexpr int backupCount = 1;

const wchar_t* nullIfEmpty(const std::wstring& text)
{
    return text.empty() ? nullptr : text.c_str();
}

void addToRoot(const log4cplus::SharedAppenderPtr& appender, const std::wstring& pattern)
{
    appender->setLayout(std::make_unique<log4cplus::PatternLayout>(toLog4cplusText(pattern)));
    log4cplus::Logger::getRoot().addAppender(appender);
}

// Flushes each record (the last argument), so that a crash costs none. The appender is Log4cplusText.h's, not
// log4cplus's.
log4cplus::SharedAppenderPtr makeFileAppender(const std::wstring& path)
{
    const log4cplus::helpers::SharedObjectPtr<RollingFileAppender> appender(
        new RollingFileAppender(toLog4cplusText(path), maxFileSizeInBytes, backupCount, true));
    appender->imbue(utf8Locale());
    return log4cplus::SharedAppenderPtr(appender.get());
}

// What the published system writes through; null while it drops everything.
std::atomic<Log4CplusLogger*> g_published{nullptr};

} // namespace

// Nothing is written before Initialize(): until then records go to a logger that drops them.
LogSystem::LogSystem()
    : m_logger(std::make_unique<Log4CplusLogger>(L"Default")),
      m_droppingLogger(std::make_unique<NoOpLogger>()),
      m_current(m_droppingLogger.get())
{
    LogSystem::SetLogLevel(Info);
}

LogSystem::~LogSystem() = default;

EKvsStatus LogSystem::Initialize()
{
    const LogGate::Pass pass;
    if (!pass)
        return Success; // log4cplus has ended: the logger that drops everything stays
    const std::wstring pattern = m_messageFormat.empty() ? defaultMessageFormat : m_messageFormat;
    // To the root logger, where the records of all libraries of a host meet. Each call adds appenders once
    // more, as hosts expect. None is removed, so that records which reach log4cplus by other ways are still
    // written.
    addToRoot(log4cplus::SharedAppenderPtr(new ConsoleAppender(false, false)), pattern);
    if (!m_logFilePath.empty())
        addToRoot(makeFileAppender(m_logFilePath), pattern);
    m_logger->Initialize();
    setCurrent(true);
    return Success;
}

void LogSystem::Terminate()
{
    setCurrent(false);
}

bool LogSystem::TruncateLogFile() const
{
    return m_truncateLogFile;
}

EKvsStatus LogSystem::SetTruncateLogFile(bool truncate)
{
    m_truncateLogFile = truncate;
    return Success;
}

const wchar_t* LogSystem::LogFilePath() const
{
    return nullIfEmpty(m_logFilePath);
}

EKvsStatus LogSystem::SetLogFilePath(const wchar_t* path)
{
    m_logFilePath = path;
    return Success;
}

const wchar_t* LogSystem::LogMessageFormat() const
{
    return nullIfEmpty(m_messageFormat);
}

EKvsStatus LogSystem::SetLogMessageFormat(const wchar_t* format)
{
    m_messageFormat = format;
    return Success;
}

EKvsLogLevel LogSystem::LogLevel() const
{
    const LogGate::Pass pass;
    if (!pass)
        return Off; // log4cplus has ended, and nothing is written any more
    return static_cast<EKvsLogLevel>(log4cplus::Logger::getRoot().getLogLevel());
}

EKvsStatus LogSystem::SetLogLevel(EKvsLogLevel level)
{
    if (const LogGate::Pass pass; pass)
        log4cplus::Logger::getRoot().setLogLevel(level);
    return Success;
}

bool LogSystem::ShowsControlCharacters() const
{
    return m_logger->showsControls();
}

void LogSystem::SetShowsControlCharacters(bool shows)
{
    m_logger->setShowsControls(shows);
}

ILogger* LogSystem::CurrentLogger() const
{
    return m_current;
}

void LogSystem::setCurrent(bool writes)
{
    m_current = writes ? static_cast<ILogger*>(m_logger.get()) : m_droppingLogger.get();
    if (m_isPublished)
        g_published = writes ? m_logger.get() : nullptr;
}

void LogSystem::Publish()
{
    m_isPublished = true;
    setCurrent(m_current != m_droppingLogger.get());
}

// Nearly all who ask are told no. So this does without the way through the kernel and without a virtual call.
ILogger* LogSystem::PublishedLoggerIfEnabled(EKvsLogLevel level)
{
    Log4CplusLogger* const logger = g_published.load(std::memory_order_acquire);
    return logger != nullptr && logger->isLevelEnabled(level) && logger->IsEnabled(level) ? logger : nullptr;
}

} // namespace Brennic::Core
