#pragma once
/// \file
/// Records through log4cplus's macros, on the kernel's own logger with its appender.

#include <filesystem>

#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

class Log4cplusMacro
{
public:
    static constexpr const char* name = "log4cplus";

    explicit Log4cplusMacro(const std::filesystem::path&)
        : m_logger(log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("Default")))
    {
    }

    void log()
    {
        LOG4CPLUS_INFO_FMT(m_logger, LOG4CPLUS_TEXT("loaded %s with %d vertices"),
                           LOG4CPLUS_TEXT("bunny.obj"), 34835);
    }
    void logDisabled()
    {
        LOG4CPLUS_DEBUG_FMT(m_logger, LOG4CPLUS_TEXT("loaded %s with %d vertices"),
                            LOG4CPLUS_TEXT("bunny.obj"), 34835);
    }
    void finish() {}

private:
    log4cplus::Logger m_logger;
};
