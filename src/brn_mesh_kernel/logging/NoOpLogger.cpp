#include <brn_mesh_kernel/logging/NoOpLogger.h>

using Brennic::Core::EKvsLogLevel;

// Out of line, so that the interface has one home for its virtual table: beside the simplest logger.
Brennic::Core::ILogger::~ILogger() = default;

bool NoOpLogger::IsEnabled(EKvsLogLevel /*level*/)
{
    return false;
}

void NoOpLogger::LogWithLocation(EKvsLogLevel /*level*/, const char* /*file*/, int /*line*/,
                                 const char* /*function*/, const wchar_t* /*format*/, ...)
{
}

void NoOpLogger::Log(EKvsLogLevel /*level*/, const wchar_t* /*format*/, ...) {}
