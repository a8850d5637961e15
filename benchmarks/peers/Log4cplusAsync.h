#pragma once
/// \file
/// Records through log4cplus's macros to an appender that writes in a thread of its own. The file's appender
/// is set up as the kernel's is.

#include <filesystem>
#include <memory>

#include <brn_mesh_kernel/logging/Log4cplusText.h>
#include <log4cplus/asyncappender.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

class Log4cplusAsync
{
public:
    static constexpr const char* name = "log4cplus, asynchronous";

    explicit Log4cplusAsync(const std::filesystem::path& path)
        : m_logger(log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("Asynchronous")))
    {
        constexpr unsigned queueLength = 8192;
        const log4cplus::SharedAppenderPtr file(new log4cplus::RollingFileAppender(
            Brennic::Core::toLog4cplusText(path.wstring()), 10L * 1024 * 1024, 1, true));
        file->setLayout(std::make_unique<log4cplus::PatternLayout>(LOG4CPLUS_TEXT("[%t] %-5p - %m%n")));
        m_logger.setAdditivity(false);
        m_logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::AsyncAppender(file, queueLength)));
    }
    ~Log4cplusAsync() { m_logger.removeAllAppenders(); }
    Log4cplusAsync(const Log4cplusAsync&) = delete;
    Log4cplusAsync& operator=(const Log4cplusAsync&) = delete;

    void log()
    {
        LOG4CPLUS_INFO_FMT(m_logger, LOG4CPLUS_TEXT("loaded %s with %d vertices"),
                           LOG4CPLUS_TEXT("bunny.obj"), 34835);
    }
    /// Lets the thread write everything, and ends it.
    void finish() { m_logger.getAllAppenders().front()->close(); }

private:
    log4cplus::Logger m_logger;
};
