#include "GuiThread.h"

#include <thread>

#include <QCoreApplication>
#include <QMetaObject>

int runBesideGuiThread(int argc, char** argv, const std::function<int()>& benchmarks)
{
    QCoreApplication application(argc, argv);
    // A KJob locks the event loop while it exists. Without this setting the loop would quit with the last
    // job.
    QCoreApplication::setQuitLockEnabled(false);
    int result = 1;
    std::thread thread([&] {
        result = benchmarks();
        QMetaObject::invokeMethod(&application, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    QCoreApplication::exec();
    thread.join();
    return result;
}

void inGuiThread(const std::function<void()>& function)
{
    QMetaObject::invokeMethod(QCoreApplication::instance(), function, Qt::BlockingQueuedConnection);
}
