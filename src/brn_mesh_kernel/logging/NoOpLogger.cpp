#include <brn_mesh_kernel/logging/NoOpLogger.h>

using Brennic::Core::EKvsLogLevel;

bool NoOpLogger::IsEnabled(EKvsLogLevel /*level*/)
{
    return false;
}

void NoOpLogger::LogWithLocation(EKvsLogLevel /*level*/, const char* /*file*/, int /*line*/,
                                 const char* /*function*/, const wchar_t* /*format*/, ...)
{
}

void NoOpLogger::Log(EKvsLogLevel /*level*/, const wchar_t* /*format*/, ...) {}
