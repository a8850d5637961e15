#pragma once
/// \file
/// Records through the kernel's logger, into the rolling file that the kernel was given, and to the debugger.

#include <filesystem>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>

class KernelLog
{
public:
    static constexpr const char* name = "brn_mesh_kernel";

    explicit KernelLog(const std::filesystem::path&) : m_logger(Brennic::Core::Kernel::Instance().Logger()) {}

    void log() { m_logger->Log(Brennic::Core::Info, L"loaded %s with %d vertices", L"bunny.obj", 34835); }
    void logDisabled()
    {
        m_logger->Log(Brennic::Core::Debug, L"loaded %s with %d vertices", L"bunny.obj", 34835);
    }
    void finish() {}

private:
    Brennic::Core::ILogger* m_logger;
};
