#include <brn_mesh_kernel/diagnostics/ExceptionHandler.h>

#include <brn_mesh_common/FileUtil.h>
#include <brn_mesh_common/Util.h>

namespace Brennic::Core {

CrashSettings& crashSettings()
{
    static auto* const settings = new CrashSettings; // never destroyed: crashes happen during exit too
    return *settings;
}

EKvsStatus ExceptionHandler::Initialize()
{
    CrashSettings& settings = crashSettings();
    if (!settings.dumpFilePath.empty())
        return Success;
    const std::wstring processName = Objects::Util::GetCurrentProcessName();
    settings.dumpFilePath = Objects::FileUtil::Combine(m_dumpDirectory, processName + L".dmp");
    settings.commandLogPath = Objects::FileUtil::Combine(m_dumpDirectory, processName + L"_command_log.xml");
    return Success;
}

void ExceptionHandler::Terminate() {}

const wchar_t* ExceptionHandler::DumpDirectory() const
{
    return m_dumpDirectory.c_str();
}

EKvsStatus ExceptionHandler::SetDumpDirectory(const wchar_t* directory)
{
    m_dumpDirectory = directory;
    crashSettings().dumpFilePath.clear();
    crashSettings().commandLogPath.clear();
    return Success;
}

EKvsStatus ExceptionHandler::SetSendCrashDumpHandler(const std::function<bool(const wchar_t*)>& handler)
{
    if (&handler != &crashSettings().sendCrashDump)
        crashSettings().sendCrashDump = handler;
    return Success;
}

} // namespace Brennic::Core
