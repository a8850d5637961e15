#include <brn_mesh_kernel/kernel/LibraryEntry.h>

#include <memory>

#include <QCoreApplication>

#include <brn_mesh_kernel/diagnostics/CrashStack.h>
#include <brn_mesh_kernel/library/Process.h>
#include <brn_mesh_kernel/tasks/GlobalQueues.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>
#include <brn_mesh_kernel/tasks/WorkerThreads.h>

namespace Brennic::Core {

namespace {

// The library's own destructor comes after the destruction of all that has static storage, Qt's included.
// These handlers run in reverse order: the one from the time of loading comes before what was made earlier,
// and the one from the time when the host made its application object before all that its tasks may be using.
void detachAtExit()
{
    callAtExit(&libraryDetached);
}

// Tasks do not know the crash filter, which needs room for itself on each of their threads.
std::shared_ptr<void> makeCrashStack()
{
    return std::make_shared<CrashStack>();
}

void detachEarlyAtExit()
{
    static const bool isFirst = (detachAtExit(), true);
    static_cast<void>(isFirst);
}

} // namespace

void libraryAttached()
{
    TaskWorker::guardThreadsBy(&makeCrashStack);
    WorkerThreads::watchApplication();
    GlobalQueues::initGlobalQueues();
    detachAtExit();
    qAddPreRoutine(&detachEarlyAtExit);
}

void libraryDetached()
{
    if (isForkedChild()) {
        libraryDetachedAfterThreads();
        return;
    }
    GlobalQueues::hideGlobalQueues();
    WorkerThreads::end();
}

void libraryDetachedAfterThreads()
{
    GlobalQueues::hideGlobalQueues();
    WorkerThreads::endAlone();
}

} // namespace Brennic::Core
