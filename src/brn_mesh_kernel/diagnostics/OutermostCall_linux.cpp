#include <brn_mesh_kernel/diagnostics/OutermostCall.h>

namespace Brennic::Core {

// This file is compiled without unwind tables (see crash_linux.cmake): who looks for a handler finds the end of the
// stack here. Debuggers find their way on by the frame pointer.
void callOutermost(void (*function)(void*), void* argument)
{
    function(argument);
}

} // namespace Brennic::Core
