#include <brn_mesh_kernel/logging/Log4CplusLogger.h>

#include <algorithm>
#include <cstdarg>
#include <cwctype>
#include <utility>

#include <log4cplus/loggingmacros.h>

#include <brn_mesh_kernel/logging/DebuggerOutput.h>
#include <brn_mesh_kernel/logging/Log4cplusText.h>
#include <brn_mesh_kernel/logging/WideFormat.h>

namespace Brennic::Core {

namespace {

std::wstring lowerCased(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t character) {
        return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(character)));
    });
    return text;
}

std::wstring formatMessage(const wchar_t* format, std::va_list arguments)
{
    return formatWide(lowerCased(format).c_str(), arguments);
}

} // namespace

Log4CplusLogger::Log4CplusLogger(std::wstring name) : m_name(std::move(name)) {}

EKvsStatus Log4CplusLogger::Initialize()
{
    m_logger = log4cplus::Logger::getInstance(toLog4cplusText(m_name));
    return Success;
}

void Log4CplusLogger::Terminate() {}

bool Log4CplusLogger::IsEnabled(EKvsLogLevel level)
{
    return m_logger.isEnabledFor(level);
}

void Log4CplusLogger::LogWithLocation(EKvsLogLevel level, const char* file, int line, const char* function,
                                      const wchar_t* format, ...)
{
    if (format == nullptr || !m_logger.isEnabledFor(level))
        return;
    std::va_list arguments;
    va_start(arguments, format);
    const std::wstring message = formatMessage(format, arguments);
    va_end(arguments);
    log4cplus::detail::macro_forced_log(m_logger, level, toLog4cplusText(message), file, line, function);
    writeDebuggerLine(message);
}

void Log4CplusLogger::Log(EKvsLogLevel level, const wchar_t* format, ...)
{
    if (format == nullptr || !m_logger.isEnabledFor(level))
        return;
    std::va_list arguments;
    va_start(arguments, format);
    const std::wstring message = formatMessage(format, arguments);
    va_end(arguments);
    m_logger.forcedLog(level, toLog4cplusText(message), nullptr, -1, nullptr);
    writeDebuggerLine(message);
}

} // namespace Brennic::Core
