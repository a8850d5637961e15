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

// The shared library is linked with `-z nodelete`: dlclose() does not unmap it, so no thread ever runs in
// unmapped code, and the destructor runs when the process ends. We cannot join the workers in dlclose() instead.
// It holds the loader's lock, and a worker that first uses a thread-local variable, opens a plug-in or looks up a
// symbol needs that lock.
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
