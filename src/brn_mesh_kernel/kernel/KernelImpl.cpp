#include <brn_mesh_kernel/kernel/KernelImpl.h>

#include <brn_mesh_common/FileUtil.h>
#include <brn_mesh_kernel/diagnostics/ExceptionHandler.h>
#include <brn_mesh_kernel/diagnostics/Profiler.h>
#include <brn_mesh_kernel/logging/LogSystem.h>

namespace Brennic::Core {

Kernel::Impl::Impl()
    : logSystem(std::make_unique<LogSystem>()),
      profiler(std::make_unique<Profiler>()),
      exceptionHandler(std::make_unique<ExceptionHandler>())
{
}

Kernel::Impl::~Impl() = default;

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
