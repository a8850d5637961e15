#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include <QCoreApplication>
#include <QMetaObject>

#include <brn_mesh_kernel/tasks/DispatchFuture.h>

using namespace Brennic::Core;

int countVertices(const std::string& name)
{
    if (name != "sphere")
        throw std::runtime_error("There is no mesh " + name);
    return 642;
}

// Counts in a background task and tells the result in the GUI thread, whichever way the task ends.
QFuture<void> tell(QCoreApplication& application, const std::string& name)
{
    return dispatch([name] { return countVertices(name); }, eQOS_Normal)
        .then(&application, [](int vertices) { std::cout << vertices << " vertices\n"; })
        .onFailed(&application, [](const std::exception& error) { std::cout << error.what() << '\n'; });
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    tell(application, "sphere").then(&application, [&application] {
        tell(application, "cube").then(&application, [&application] {
            // What is attached to a future that is finished already runs at once, and before exec() quit() does nothing.
            QMetaObject::invokeMethod(&application, "quit", Qt::QueuedConnection);
        });
    });
    return QCoreApplication::exec();
}
