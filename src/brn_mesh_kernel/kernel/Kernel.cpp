#include <brn_mesh_kernel/kernel/Kernel.h>

#include <string>

#include <brn_mesh_kernel/diagnostics/ExceptionHandler.h>
#include <brn_mesh_kernel/diagnostics/Profiler.h>
#include <brn_mesh_kernel/kernel/KernelImpl.h>
#include <brn_mesh_kernel/logging/ILogger.h>
#include <brn_mesh_kernel/logging/LogSystem.h>
#include <brn_mesh_kernel/tasks/WaitGraph.h>

namespace Brennic::Core {

namespace {

// For tasks/, which does not log by itself. A host without a kernel has no log.
void warn(const std::wstring& text)
{
    Kernel::Instance().Logger()->Log(Warn, L"%s", text.c_str());
}

} // namespace

Kernel::Kernel() : m_impl(std::make_unique<Impl>()) {}

Kernel::~Kernel() = default;

Kernel& Kernel::Instance()
{
    static Kernel* const instance = [] {
        auto kernel = std::make_unique<Kernel>();
        kernel->m_impl->logSystem->Publish();
        WaitGraph::reportBy(&warn);
        return kernel.release(); // never destroyed: threads log until the process has ended
    }();
    return *instance;
}

EKvsStatus Kernel::Initialize()
{
    return m_impl->Initialize();
}

void Kernel::Terminate()
{
    m_impl->Terminate();
}

bool Kernel::TruncateLogFile() const
{
    return m_impl->logSystem->TruncateLogFile();
}

EKvsStatus Kernel::SetTruncateLogFile(bool truncate)
{
    return m_impl->logSystem->SetTruncateLogFile(truncate);
}

const wchar_t* Kernel::LogFilePath() const
{
    return m_impl->logSystem->LogFilePath();
}

EKvsStatus Kernel::SetLogFilePath(const wchar_t* path)
{
    return m_impl->logSystem->SetLogFilePath(path);
}

const wchar_t* Kernel::LogMessageFormat() const
{
    return m_impl->logSystem->LogMessageFormat();
}

EKvsStatus Kernel::SetLogMessageFormat(const wchar_t* format)
{
    return m_impl->logSystem->SetLogMessageFormat(format);
}

EKvsLogLevel Kernel::LogLevel() const
{
    return m_impl->logSystem->LogLevel();
}

EKvsStatus Kernel::SetLogLevel(EKvsLogLevel level)
{
    return m_impl->logSystem->SetLogLevel(level);
}

bool Kernel::ShowsControlCharacters() const
{
    return m_impl->logSystem->ShowsControlCharacters();
}

EKvsStatus Kernel::SetShowsControlCharacters(bool shows)
{
    m_impl->logSystem->SetShowsControlCharacters(shows);
    return Success;
}

ILogger* Kernel::Logger() const
{
    return m_impl->logSystem->CurrentLogger();
}

ILogger* Kernel::LoggerIfEnabled(EKvsLogLevel level)
{
    return LogSystem::PublishedLoggerIfEnabled(level);
}

IProfilerSource* Kernel::ProfilerSource() const
{
    return m_impl->profiler->Source();
}

EKvsStatus Kernel::SetProfilerSource(IProfilerSource* source)
{
    return m_impl->profiler->SetSource(source);
}

EKvsStatus Kernel::ProfilerWaypoint(const wchar_t* name)
{
    return m_impl->profiler->AddWaypoint(name);
}

EKvsStatus Kernel::SaveWaypointsToXml(const wchar_t* filePath)
{
    return m_impl->profiler->WriteWaypointReport(filePath);
}

EKvsStatus Kernel::SetSendCrashDumpHandler(const std::function<bool(const wchar_t*)>& handler)
{
    return m_impl->exceptionHandler->SetSendCrashDumpHandler(handler);
}

} // namespace Brennic::Core
