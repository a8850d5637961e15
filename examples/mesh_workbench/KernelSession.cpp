#include "KernelSession.h"

#include <boost/nowide/convert.hpp>

#include <brn_mesh_common/Util.h>
#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/QtMessages.h>

#include "RunOptions.h"

using Brennic::Core::Kernel;
namespace Util = Brennic::Objects::Util;

KernelSession::KernelSession(const RunOptions& options)
{
    const std::wstring version = boost::nowide::widen(MESH_WORKBENCH_VERSION);
    Util::RegisterVersionInfo({L"", L"Mesh workbench", version, L"brn_mesh_kernel", version});
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(boost::nowide::widen(options.log.u8string()).c_str());
    kernel.SetLogLevel(options.logLevel);
    if (!options.logPattern.empty())
        kernel.SetLogMessageFormat(boost::nowide::widen(options.logPattern).c_str());
    kernel.SetProfilerSource(&m_source);
    kernel.Initialize();
    Brennic::Core::QtMessages::forward();
}

KernelSession::~KernelSession()
{
    Kernel::Instance().Terminate();
}
