#pragma once
/// \file
/// Internal, not installed. The service that sets up what happens when the process crashes.
///
/// The dump directory belongs to the object; the paths and the host's handler are the process's
/// (CrashSettings.h): there is one crash filter per process, which reads them.

#include <functional>
#include <string>

#include <brn_mesh_kernel/diagnostics/CrashFilter.h>
#include <brn_mesh_kernel/diagnostics/CrashSettings.h>
#include <brn_mesh_kernel/kernel/IService.h>

namespace Brennic::Core {

class ExceptionHandler : public IService
{
public:
    /// \param writeReport writes the waypoint report when the process crashes.
    explicit ExceptionHandler(CrashFilter::ReportWriter writeReport);

    /// Works out the paths of the dump and of the command log and installs the crash filter, unless the paths
    /// are set already.
    EKvsStatus Initialize() override;
    /// Does nothing: crashes during and after shut-down are still to be caught.
    void Terminate() override;

    /// Never null.
    virtual const wchar_t* DumpDirectory() const;
    /// Forgets the paths; the next \ref Initialize works them out anew.
    virtual EKvsStatus SetDumpDirectory(const wchar_t* directory);
    /// An empty handler clears. It is copied once; if that throws, the one before stays.
    virtual EKvsStatus SetSendCrashDumpHandler(const std::function<bool(const wchar_t*)>& handler);

private:
    const CrashFilter::ReportWriter m_writeReport;
    std::wstring m_dumpDirectory;
};

} // namespace Brennic::Core
