#include <brn_mesh_kernel/kernel/KernelImpl.h>

#include <exception>

#include <brn_mesh_common/FileUtil.h>
#include <brn_mesh_kernel/diagnostics/ExceptionHandler.h>
#include <brn_mesh_kernel/diagnostics/Profiler.h>
#include <brn_mesh_kernel/logging/LogSystem.h>

namespace Brennic::Core {

namespace {

// The report in a crash is that of the process's kernel, whichever kernel has installed the crash filter.
void writeReportOfCrash(const wchar_t* path) noexcept
{
    try {
        Kernel::Instance().SaveWaypointsToXml(path);
    } catch (
        const std::exception&) { // NOLINT(bugprone-empty-catch): a report that fails must not cost the dump
    }
}

} // namespace

// Out of line, so that the interface has one home for its virtual table.
IService::~IService() = default;

void IService::Terminate() {}

Kernel::Impl::Impl()
    : logSystem(std::make_unique<LogSystem>()),
      profiler(std::make_unique<Profiler>()),
      exceptionHandler(std::make_unique<ExceptionHandler>(writeReportOfCrash))
{
}

Kernel::Impl::~Impl() = default;

// The crash handler after the log system, whose file's directory it takes; the run last, so that it measures
// none of this.
EKvsStatus Kernel::Impl::Initialize()
{
    logSystem->Initialize();
    profiler->Initialize();
    passDumpDirectory();
    exceptionHandler->Initialize();
    profiler->Start();
    return Success;
}

void Kernel::Impl::Terminate()
{
    exceptionHandler->Terminate();
    profiler->Terminate();
    profiler->SetSource(nullptr);
    LogWaypoints(*profiler, *logSystem->CurrentLogger());
    logSystem->Terminate();
}

void Kernel::Impl::passDumpDirectory()
{
    if (const wchar_t* const logFile = logSystem->LogFilePath())
        exceptionHandler->SetDumpDirectory(Objects::FileUtil::GetDirectoryPathFromFilePath(logFile).c_str());
}

} // namespace Brennic::Core
