#include <brn_mesh_kernel/library/LibraryEntry.h>

#include <cstdlib>

#include <QCoreApplication>

#include <brn_mesh_kernel/tasks/ApplicationGate.h>
#include <brn_mesh_kernel/tasks/GlobalQueues.h>

namespace Brennic::Core {

namespace {

// Handlers run in reverse order: one that is registered when the host makes its application object comes
// before the destruction of everything with static storage that the host's tasks may be using.
void detachEarlyAtExit()
{
    static const int failure = std::atexit(&libraryDetached);
    static_cast<void>(failure); // the library's own destructor detaches as well
}

} // namespace

void libraryAttached()
{
    GlobalQueues::initGlobalQueues();
    ApplicationGate::watch();
    qAddPreRoutine(&detachEarlyAtExit);
}

void libraryDetached()
{
    GlobalQueues::hideGlobalQueues();
    ApplicationGate::end();
}

} // namespace Brennic::Core
