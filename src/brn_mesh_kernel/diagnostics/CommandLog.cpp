#include <brn_mesh_kernel/diagnostics/CommandLog.h>

#include <exception>

#include <brn_mesh_kernel/kernel/Kernel.h>

namespace Brennic::Core {

void writeCommandLog(const wchar_t* path) noexcept
{
    try {
        Kernel::Instance().SaveWaypointsToXml(path);
    } catch (
        const std::exception&) { // NOLINT(bugprone-empty-catch): a report that fails must not cost the dump
    }
}

} // namespace Brennic::Core
