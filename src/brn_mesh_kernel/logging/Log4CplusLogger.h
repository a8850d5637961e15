#pragma once
/// \file
/// Internal, not installed. The logger that writes through one named log4cplus logger and copies every record
/// to the debugger.
///
/// A record that is enabled goes through `write`: a pass of LogGate.h, the text from WideFormat.h, log4cplus,
/// whose appenders LogSystem.cpp attaches to the root logger, and DebuggerOutput.h. docs/logging.md draws the
/// way.

#include <atomic>
#include <cstdarg>
#include <string>

#include <log4cplus/logger.h>
#include <log4cplus/spi/loggerimpl.h>

#include <brn_mesh_kernel/kernel/IService.h>
#include <brn_mesh_kernel/logging/ILogger.h>

namespace Brennic::Core {

class Log4CplusLogger final : public IService, public ILogger
{
public:
    /// Keeps the name; the log4cplus logger is bound by \ref Initialize.
    explicit Log4CplusLogger(std::wstring name);

    EKvsStatus Initialize() override;
    void Terminate() override;

    /// Whether line breaks and other control characters of messages are written visibly. Off at first.
    /// Thread: any.
    bool showsControls() const;
    void setShowsControls(bool shows);

    bool IsEnabled(EKvsLogLevel level) override;
    /// The same but for the gate of logging: false is final, true is not. Thread: any.
    bool isLevelEnabled(EKvsLogLevel level) const { return m_logger.isLevelEnabled(level); }
    void LogWithLocation(EKvsLogLevel level, const char* file, int line, const char* function,
                         const wchar_t* format, ...) override;
    void Log(EKvsLogLevel level, const wchar_t* format, ...) override;

private:
    void write(EKvsLogLevel level, const char* file, int line, const char* function, const wchar_t* format,
               std::va_list arguments);
    void logIntoFiles(const wchar_t* message);

    // Reads the level without a call into log4cplus: at a disabled level that call is a good part of the
    // cost.
    class BoundLogger : public log4cplus::Logger
    {
    public:
        BoundLogger() = default;
        explicit BoundLogger(const log4cplus::Logger& logger) : log4cplus::Logger(logger) {}
        // Leaves a logger that is bound alone: other threads may be using it.
        void bind(const BoundLogger& logger)
        {
            if (value != logger.value)
                log4cplus::Logger::operator=(logger);
        }
        // Compares levels only. What it reads is not destroyed with log4cplus, so it needs no pass of the
        // gate.
        bool isLevelEnabled(log4cplus::LogLevel level) const { return level >= value->getChainedLogLevel(); }
    };

    std::wstring m_name;
    BoundLogger m_logger;
    std::atomic<bool> m_showsControls{false};
};

} // namespace Brennic::Core
