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

// The library's own destructor runs after all static objects have been destroyed, Qt's included, which is too
// late. Exit handlers run in reverse order of registration. The one that is registered when the library is
// loaded runs before the destruction of static objects made earlier; the one that is registered with the
// host's application object runs before the destruction of what the host's tasks may be using.
void detachAtExit()
{
    callAtExit(&libraryDetached);
}

// The crash filter needs a stack of its own on each worker's thread; tasks/ does not know the filter.
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
    TaskWorker::guardThreadsBy(&makeCrashStack); // before there are workers
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
