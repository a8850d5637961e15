/// \file
/// Closes the gate of logging when the process ends (LogGate.h).

#include <brn_mesh_kernel/library/Process.h>
#include <brn_mesh_kernel/logging/LogGate.h>

namespace Brennic::Core {

namespace {

void endLogging()
{
    LogGate::instance().close();
}

// exit() calls this while other threads run. Soon after that the system ends them wherever they are. None
// must be inside log4cplus then, whose own end would wait for their locks.
[[maybe_unused]] const bool g_isExitWatched = (callAtExit(&endLogging), true);

} // namespace

} // namespace Brennic::Core
