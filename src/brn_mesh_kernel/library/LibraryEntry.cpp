#include <brn_mesh_kernel/library/LibraryEntry.h>

#include <QCoreApplication>

#include <brn_mesh_kernel/tasks/ApplicationGate.h>
#include <brn_mesh_kernel/tasks/GlobalQueues.h>

namespace Brennic::Core {

namespace {

// The library's own destructor comes after the destruction of all that has static storage, Qt's included.
// These handlers run in reverse order: the one from the time of loading comes before what was made earlier,
// and the one from the time when the host made its application object before all that its tasks may be using.
void detachAtExit()
{
    callAtExit(&libraryDetached);
}

void detachEarlyAtExit()
{
    static const bool isFirst = (detachAtExit(), true);
    static_cast<void>(isFirst);
}

} // namespace

void libraryAttached()
{
    GlobalQueues::initGlobalQueues();
    detachAtExit();
    ApplicationGate::watch();
    qAddPreRoutine(&detachEarlyAtExit);
}

void libraryDetached()
{
    if (isForkedChild()) {
        libraryLeftAlone();
        return;
    }
    GlobalQueues::hideGlobalQueues();
    ApplicationGate::end();
}

void libraryLeftAlone()
{
    GlobalQueues::hideGlobalQueues();
    ApplicationGate::endAlone();
}

} // namespace Brennic::Core
