#include <brn_mesh_kernel/logging/Log4CplusLogger.h>

#include <cerrno>
#include <cwctype>
#include <utility>

#include <brn_mesh_kernel/library/StandardOutput.h>
#include <brn_mesh_kernel/logging/DebuggerOutput.h>
#include <brn_mesh_kernel/logging/Log4cplusText.h>
#include <brn_mesh_kernel/logging/LogGate.h>
#include <brn_mesh_kernel/logging/VisibleControls.h>
#include <brn_mesh_kernel/logging/WideFormat.h>

namespace Brennic::Core {

namespace {

// Saves asking the locale about characters that have no other case in any: asking costs more than the rest of
// lowerCased().
bool hasNoLowerCase(wchar_t character)
{
    return character < 0x80 && !(character >= L'A' && character <= L'Z');
}

// Hosts rely on formats being lower-cased (ILogger.h): "%S" means "%s", and literal text loses its case too.
std::wstring lowerCased(std::wstring text)
{
    for (wchar_t& character : text)
        if (!hasNoLowerCase(character))
            character = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(character)));
    return text;
}

} // namespace

Log4CplusLogger::Log4CplusLogger(std::wstring name) : m_name(std::move(name)) {}

EKvsStatus Log4CplusLogger::Initialize()
{
    m_logger.bind(BoundLogger(log4cplus::Logger::getInstance(toLog4cplusText(m_name))));
    return Success;
}

// Ends nothing: the appenders belong to the root logger, and records that reach it by other ways are still
// written.
void Log4CplusLogger::Terminate() {}

bool Log4CplusLogger::showsControls() const
{
    return m_showsControls;
}

void Log4CplusLogger::setShowsControls(bool shows)
{
    m_showsControls = shows;
}

bool Log4CplusLogger::IsEnabled(EKvsLogLevel level)
{
    if (!m_logger.isLevelEnabled(level)) // without a pass: most records that are not wanted end here
        return false;
    const LogGate::Pass pass;
    return pass && m_logger.isEnabledFor(level);
}

// The two functions below are short so that a disabled level costs next to nothing. Formatting inside them
// would give them a large stack frame and registers to save before the level is read.

void Log4CplusLogger::LogWithLocation(EKvsLogLevel level, const char* file, int line, const char* function,
                                      const wchar_t* format, ...)
{
    if (format == nullptr || !m_logger.isLevelEnabled(level))
        return;
    std::va_list arguments;
    va_start(arguments, format);
    write(level, file, line, function, format, arguments);
    va_end(arguments);
}

void Log4CplusLogger::Log(EKvsLogLevel level, const wchar_t* format, ...)
{
    if (format == nullptr || !m_logger.isLevelEnabled(level))
        return;
    std::va_list arguments;
    va_start(arguments, format);
    write(level, nullptr, -1, nullptr, format, arguments);
    va_end(arguments);
}

void Log4CplusLogger::write(EKvsLogLevel level, const char* file, int line, const char* function,
                            const wchar_t* format, std::va_list arguments)
{
    const int error = errno; // %m describes it, and the caller finds it unchanged
    const LogGate::Pass pass;
    if (!pass || !m_logger.isEnabledFor(level))
        return;
    std::wstring message = formatWide(lowerCased(format).c_str(), arguments, error);
    if (m_showsControls)
        message = withVisibleControls(message);
    m_logger.forcedLog(level, toLog4cplusText(message), file, line, function);
    writeDebuggerLine(message);
    // The console's appender and the debugger's line drop what nobody reads. The file says so, once for each.
    if (takeFirstLossOfStandardOutput())
        logIntoFiles(L"nobody reads the standard output: the log leaves out what it cannot write there");
    if (takeFirstLossOfDebuggerLine())
        logIntoFiles(L"nobody reads the standard error: the log leaves out what it cannot write there");
    errno = error;
}

// Past the console, whose reader has gone: a record for all appenders would be lost there again.
void Log4CplusLogger::logIntoFiles(const wchar_t* message)
{
    const log4cplus::spi::InternalLoggingEvent event(m_logger.getName(), Warn, toLog4cplusText(message),
                                                     nullptr, -1);
    for (const log4cplus::SharedAppenderPtr& appender : log4cplus::Logger::getRoot().getAllAppenders())
        if (dynamic_cast<log4cplus::FileAppenderBase*>(appender.get()) != nullptr)
            appender->doAppend(event);
}

} // namespace Brennic::Core
