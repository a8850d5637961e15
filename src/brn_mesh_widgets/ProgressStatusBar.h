#pragma once
/// \file
/// Shows the description and the bar of one progress, for the status bar of a window.
///
///     auto* const bar = new Brennic::Widgets::ProgressStatusBar;
///     window->statusBar()->addPermanentWidget(bar);
///     bar->setProgress(import);
///
/// Of a tree it shows the root, its exact fraction, and the time that is left as soon as that can be judged. While the
/// total is not known, the bar is a busy one. When the work is complete, was cancelled, has failed or has been destroyed,
/// the widget says so, with the reason of a failure, or hides its contents.
///
/// Threads: the widget belongs to the GUI thread; the progress may be reported on in any thread. The widget shows at
/// most one report every 16 ms, and the time that is left once a second.
///
/// Lifetime: the widget does not own the progress and does not keep it alive.

#include <memory>

#include <QWidget>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_widgets/Export.h>

namespace Brennic::Widgets {

class ProgressModel;

/// One line about a progress, with a bar.
class BRN_MESH_WIDGETS_EXPORT ProgressStatusBar : public QWidget
{
    Q_OBJECT

public:
    /// What is shown at the end.
    enum AtEnd
    {
        HideAtEnd,
        ShowStateAtEnd ///< the description with "complete", "cancelled", "ended", or "failed" and the reason
    };
    Q_ENUM(AtEnd)

    /// Makes a widget that shows nothing and takes no place.
    /// Thread: GUI thread.
    explicit ProgressStatusBar(QWidget* parent = nullptr);

    /// Releases the progress.
    /// Thread: GUI thread.
    ~ProgressStatusBar() override;

    /// Shows \p progress in place of what was shown; an empty pointer leaves nothing.
    /// Thread: GUI thread. Ownership: stays with the caller.
    void setProgress(const std::shared_ptr<Core::Progress>& progress);

    /// Shows the root of \p model, which a view may show too; a null pointer leaves nothing.
    /// Thread: GUI thread. Ownership: stays with the caller; a model may go before the widget does.
    void setModel(ProgressModel* model);

    /// Sets what is shown at the end; at first \ref ShowStateAtEnd.
    /// Thread: GUI thread.
    void setAtEnd(AtEnd atEnd);

    /// Returns what is shown at the end.
    /// Thread: GUI thread.
    AtEnd atEnd() const;

private:
    class ProgressStatusBarImpl;

    std::unique_ptr<ProgressStatusBarImpl> m_impl;
};

} // namespace Brennic::Widgets
