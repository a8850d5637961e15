#include <brn_mesh_kernel/diagnostics/ExceptionHandler.h>

#include <utility>

#include <brn_mesh_common/FileUtil.h>
#include <brn_mesh_common/Util.h>

namespace Brennic::Core {

namespace {

using Handler = std::function<bool(const wchar_t*)>;

} // namespace

ExceptionHandler::ExceptionHandler(CrashFilter::ReportWriter writeReport) : m_writeReport(writeReport) {}

EKvsStatus ExceptionHandler::Initialize()
{
    CrashSettings settings = crashSettings();
    if (!settings.dumpFilePath.empty())
        return Success; // this kernel or another of the process has set the paths and installed the filter
    const std::wstring processName = Objects::Util::GetCurrentProcessName();
    settings.dumpFilePath = Objects::FileUtil::Combine(m_dumpDirectory, processName + L".dmp");
    settings.commandLogPath = Objects::FileUtil::Combine(m_dumpDirectory, processName + L"_command_log.xml");
    publishCrashSettings(std::move(settings));
    CrashFilter::install(m_writeReport);
    return Success;
}

// Nothing is undone: crashes during and after shut-down are to be caught too.
void ExceptionHandler::Terminate() {}

const wchar_t* ExceptionHandler::DumpDirectory() const
{
    return m_dumpDirectory.c_str();
}

EKvsStatus ExceptionHandler::SetDumpDirectory(const wchar_t* directory)
{
    m_dumpDirectory = directory;
    // Until the next Initialize() a crash has no paths, and its dump goes to the folder for temporary files.
    CrashSettings settings = crashSettings();
    settings.dumpFilePath.clear();
    settings.commandLogPath.clear();
    publishCrashSettings(std::move(settings));
    return Success;
}

EKvsStatus ExceptionHandler::SetSendCrashDumpHandler(const std::function<bool(const wchar_t*)>& handler)
{
    CrashSettings settings = crashSettings();
    if (&handler == settings.sendCrashDump.get()) // set to itself: there is nothing to copy
        return Success;
    settings.sendCrashDump = handler ? std::make_shared<const Handler>(handler) : nullptr;
    publishCrashSettings(std::move(settings));
    return Success;
}

} // namespace Brennic::Core
