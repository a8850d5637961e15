#include <memory>

#include <QApplication>
#include <QMainWindow>
#include <QStatusBar>
#include <QThread>
#include <QTreeView>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_widgets/ProgressDelegate.h>
#include <brn_mesh_widgets/ProgressModel.h>
#include <brn_mesh_widgets/ProgressStatusBar.h>
#include <brn_mesh_widgets/TaskbarProgress.h>

using namespace Brennic::Core;
using namespace Brennic::Widgets;

static void import(const std::shared_ptr<Progress>& whole)
{
    const auto reading = std::make_shared<Progress>(64, L"Reading");
    whole->addChildWithPendingCount(reading, 64);
    for (int block = 0; block < 64; ++block) {
        QThread::msleep(10); // the work
        ++*reading;
    }
    const auto building = std::make_shared<Progress>(64, L"Building"); // appears while it runs
    whole->addChildWithPendingCount(building, 64);
    for (int mesh = 0; mesh < 64; ++mesh) {
        QThread::msleep(10);
        ++*building;
    }
}

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    QApplication::setDesktopFileName("progress_window"); // by which task bars know the program
    QMainWindow window;
    auto* const view = new QTreeView(&window);
    auto* const model = new ProgressModel(view);
    auto* const bar = new ProgressStatusBar(&window);
    view->setModel(model);
    view->setItemDelegateForColumn(ProgressModel::ProgressColumn, new ProgressDelegate(view));
    window.setCentralWidget(view);
    window.statusBar()->addWidget(bar);
    auto* const entry = new TaskbarProgress(&window);
    bar->setModel(model); // one model for all
    entry->setModel(model);

    const auto whole = std::make_shared<Progress>(0, L"Import");
    model->setProgress(whole);
    dispatchAsync([whole] { import(whole); }, eQOS_Normal);
    QObject::connect(model, &ProgressModel::rowsInserted, view, &QTreeView::expandAll);
    window.resize(640, 240);
    window.show();
    return QApplication::exec();
}
