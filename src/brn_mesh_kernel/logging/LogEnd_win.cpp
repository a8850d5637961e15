/// \file
/// The end of logging.

#include <brn_mesh_kernel/library/Process.h>
#include <brn_mesh_kernel/logging/LogGate.h>

namespace Brennic::Core {

namespace {

void endLogging()
{
    LogGate::instance().close();
}

// exit() calls this while other threads run. Soon after that the system ends them, wherever they are: better not inside
// log4cplus, whose own end would wait for their locks.
[[maybe_unused]] const bool g_isExitWatched = (callAtExit(&endLogging), true);

} // namespace

} // namespace Brennic::Core
