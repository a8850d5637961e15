#include <brn_mesh_kernel/diagnostics/CrashSettings.h>

#include <atomic>
#include <utility>

namespace Brennic::Core {

namespace {

// Never destroyed: crashes happen during exit too.
std::atomic<const CrashSettings*> g_current{new CrashSettings};
std::atomic<bool> g_areKept{false};

} // namespace

const CrashSettings& crashSettings()
{
    return *g_current.load();
}

void publishCrashSettings(CrashSettings settings)
{
    const CrashSettings* const replaced = g_current.exchange(new CrashSettings(std::move(settings)));
    // The filter sets g_areKept before it reads g_current; this does the reverse, so at least one side sees
    // the other.
    if (!g_areKept)
        delete replaced;
}

const CrashSettings& keepCrashSettings()
{
    g_areKept = true; // before g_current is read, see above
    return *g_current.load();
}

} // namespace Brennic::Core
