/// \file
/// Shows a run in the task bar from begin to end. What is printed comes from the libraries.

#include <memory>

#include <QApplication>
#include <QWidget>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_widgets/TaskbarProgress.h>

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    QWidget window;
    auto* const entry = new Brennic::Widgets::TaskbarProgress(&window, "test");
    const auto progress = std::make_shared<Brennic::Core::Progress>(2, L"Import");
    entry->setProgress(progress);
    ++*progress;
    QCoreApplication::processEvents(); // shows it
    ++*progress;
}
