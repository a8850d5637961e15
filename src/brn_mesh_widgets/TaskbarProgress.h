#pragma once
/// \file
/// Shows the progress of work in the task bar, on the entry of its window, also while the window is covered.
///
///     auto* const entry = new Brennic::Widgets::TaskbarProgress(window);
///     entry->setProgress(import);
///
/// Of a tree it shows the root, and its exact fraction. When the work is complete, was cancelled or has ended, the
/// entry is as before. When the work has failed, the entry asks for attention, until the user comes to the window. If
/// the user is there already, it does not.
///
/// On Linux the task bar, or dock, is told over the session bus, by the signal `Update` of
/// `com.canonical.Unity.LauncherEntry`. It finds the entry by the name of the program's `.desktop` file, so all
/// windows of a program share one entry. On Windows each window has its own. Without a session bus, without a name
/// or with a task bar that shows no progress, nothing happens, and nothing is printed.
///
/// Threads: the object belongs to the GUI thread; the progress may be reported on in any thread. The task bar is told
/// at most 20 times a second, the last report always, and not at all while nothing changes that it shows.
///
/// Lifetime: the window owns the object. The object does not own the progress and does not keep it alive. It clears
/// the entry when it is destroyed.

#include <memory>

#include <QObject>
#include <QString>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_widgets/Export.h>

class QWidget;

namespace Brennic::Widgets {

class ProgressModel;

/// The progress on one entry of the task bar.
class BRN_MESH_WIDGETS_EXPORT TaskbarProgress : public QObject
{
    Q_OBJECT

public:
    /// Makes an object that shows nothing yet.
    ///
    /// \param window a top-level window; never null.
    /// \param desktopName names the program's `.desktop` file, with that ending or without. If it is empty, it is
    ///     `QGuiApplication::desktopFileName()`, as that is when something is first shown. Windows does not need it.
    /// Thread: GUI thread. Ownership: \p window takes the object.
    explicit TaskbarProgress(QWidget* window, const QString& desktopName = QString());

    /// Clears the entry, and releases the progress.
    /// Thread: GUI thread.
    ~TaskbarProgress() override;

    /// Shows \p progress in place of what was shown; an empty pointer clears the entry.
    /// Thread: GUI thread. Ownership: stays with the caller.
    void setProgress(const std::shared_ptr<Core::Progress>& progress);

    /// Shows the root of \p model, which a view may show too; a null pointer clears the entry.
    /// Thread: GUI thread. Ownership: stays with the caller; a model may go before this object does.
    void setModel(ProgressModel* model);

    /// Sees the user come to the window.
    /// Thread: GUI thread.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    class TaskbarProgressImpl;

    std::unique_ptr<TaskbarProgressImpl> m_impl;
};

} // namespace Brennic::Widgets
