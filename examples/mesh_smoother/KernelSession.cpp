#include "KernelSession.h"

#include <boost/nowide/convert.hpp>

#include <brn_mesh_common/FileUtil.h>
#include <brn_mesh_common/Util.h>
#include <brn_mesh_kernel/logging/QtMessages.h>

#include "Crash.h"
#include "Options.h"
#include "Pipeline.h"
#include "ResidentMemory.h"

using Brennic::Core::Kernel;
namespace FileUtil = Brennic::Objects::FileUtil;
namespace Util = Brennic::Objects::Util;

KernelSession::KernelSession(const Options& options, Brennic::Core::IProfilerSource& source)
{
    const std::wstring version = boost::nowide::widen(MESH_SMOOTHER_VERSION);
    Util::RegisterVersionInfo({L"", L"Mesh smoother", version, L"brn_mesh_kernel", version});
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(boost::nowide::widen(options.log.u8string()).c_str());
    kernel.SetLogLevel(options.logLevel);
    if (!options.logPattern.empty())
        kernel.SetLogMessageFormat(boost::nowide::widen(options.logPattern).c_str());
    kernel.SetProfilerSource(&source);
    prepareCrashNotice(FileUtil::GetDirectoryPathFromFilePath(kernel.LogFilePath()).c_str());
    kernel.SetSendCrashDumpHandler(printCrashNotice);
    kernel.Initialize();
    Brennic::Core::QtMessages::forward();
}

KernelSession::~KernelSession()
{
    Kernel::Instance().Terminate();
}

std::int64_t ProcessSource::MemoryUsage()
{
    return residentMemoryInBytes();
}

std::int64_t ProcessSource::FrameCount()
{
    return m_pipeline.iterationsDone();
}
