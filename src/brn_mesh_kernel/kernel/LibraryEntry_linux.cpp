#include <brn_mesh_kernel/kernel/LibraryEntry.h>

#include <unistd.h>

namespace {

pid_t g_loadingProcess = 0;

} // namespace

namespace Brennic::Core {

bool isForkedChild()
{
    return ::getpid() != g_loadingProcess;
}

} // namespace Brennic::Core

namespace {

// The shared library is linked with `-z nodelete`: dlclose() leaves it where it is, so the destructor runs
// when the process ends and no thread is ever left in code that is gone. Joining the workers in dlclose()
// instead is no way out, since it holds the loader's lock, which a thread takes when it first uses a thread
// local variable, opens a plug-in or looks up a symbol.
[[gnu::constructor]] void attach()
{
    g_loadingProcess = ::getpid();
    Brennic::Core::libraryAttached();
}

[[gnu::destructor]] void detach()
{
    Brennic::Core::libraryDetached();
}

} // namespace
