#pragma once
/// \file
/// Internal, not installed. The logger that drops all records. It is the current one before the log system is
/// initialized and after it is terminated, so that `Kernel::Logger()` is never null.

#include <brn_mesh_kernel/logging/ILogger.h>

class NoOpLogger final : public Brennic::Core::ILogger
{
public:
    bool IsEnabled(Brennic::Core::EKvsLogLevel level) override;
    void LogWithLocation(Brennic::Core::EKvsLogLevel level, const char* file, int line, const char* function,
                         const wchar_t* format, ...) override;
    void Log(Brennic::Core::EKvsLogLevel level, const wchar_t* format, ...) override;
};
