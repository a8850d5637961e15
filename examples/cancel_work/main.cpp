#include <iostream>
#include <memory>

#include <QCoreApplication>

#include <brn_mesh_kernel/progress/Percent.h>
#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

using namespace Brennic::Core;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const auto whole = std::make_shared<Progress>(0, L"Import");
    const auto reading = std::make_shared<Progress>(1'000'000'000, L"Reading");
    whole->addChildWithPendingCount(reading, 100);
    reading->setCancelHandler([] { std::cout << "Stopping\n"; }); // called in the thread that cancels

    const auto task = std::make_shared<Task>([reading] {
        while (!reading->isComplete() && !reading->isCancelled())
            ++*reading;
    });
    TaskQueue::getGlobalQueue(eQOS_Normal)->addTask(task);

    whole->cancel(); // as a button does: it reaches the part
    if (!task->cancel())
        task->waitTillFinished(); // it runs already, and sees that it is to stop
    const std::shared_ptr<ProgressState> state = whole->getState();
    if (state->getStatus() == EProgressStatus::Cancelled)
        std::cout << "Cancelled at " << toPercent(state->getFraction()) << " %\n";
}
