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

// Most characters of a format have no other case in any locale; asking for each costs more than the rest.
bool hasNoLowerCase(wchar_t character)
{
    return character < 0x80 && !(character >= L'A' && character <= L'Z');
}

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
    m_logger.bind(log4cplus::Logger::getInstance(toLog4cplusText(m_name)));
    return Success;
}

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
    if (!m_logger.isLevelEnabled(level))
        return false;
    const LogGate::Pass pass;
    return pass && m_logger.isEnabledFor(level);
}

// The two functions below stay this short so that a disabled level costs next to nothing: what they call keeps
// its buffers, and the registers it needs, to itself.

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
    const int error = errno; // %m describes it, and the caller finds it as it was
    const LogGate::Pass pass;
    if (!pass || !m_logger.isEnabledFor(level))
        return;
    std::wstring message = formatWide(lowerCased(format).c_str(), arguments, error);
    if (m_showsControls)
        message = withVisibleControls(message);
    m_logger.forcedLog(level, toLog4cplusText(message), file, line, function);
    writeDebuggerLine(message);
    if (takeFirstLossOfStandardOutput())
        logIntoFiles(L"nobody reads the standard output: the log leaves out what it cannot write there");
    if (takeFirstLossOfDebuggerLine())
        logIntoFiles(L"nobody reads the standard error: the log leaves out what it cannot write there");
    errno = error;
}

void Log4CplusLogger::logIntoFiles(const wchar_t* message)
{
    const log4cplus::spi::InternalLoggingEvent event(m_logger.getName(), Warn, toLog4cplusText(message),
                                                     nullptr, -1);
    for (const log4cplus::SharedAppenderPtr& appender : log4cplus::Logger::getRoot().getAllAppenders())
        if (dynamic_cast<log4cplus::FileAppenderBase*>(appender.get()) != nullptr)
            appender->doAppend(event);
}

} // namespace Brennic::Core
