#pragma once
/// \file
/// Draws the progress of a `ProgressModel` as bars in a view, in the view's style.
///
///     treeView->setItemDelegateForColumn(ProgressModel::ProgressColumn, new ProgressDelegate(treeView));
///
/// Where the total is not known, a piece of the bar runs to and fro. Only such cells are drawn again, and only
/// while a view shows one: hidden, scrolled away or complete, they cost nothing. The bar of work that was cancelled,
/// has failed or has ended too early stands still, in the colours of what is disabled. Cells without the model's
/// roles are drawn as usual.
///
/// Threads: GUI thread.
///
/// Lifetime: as every delegate: views do not own it; in practice a view is its Qt parent. One delegate may
/// serve several views.

#include <memory>

#include <QStyledItemDelegate>

#include <brn_mesh_widgets/Export.h>

namespace Brennic::Widgets {

/// Draws the progress of a row as a bar.
class BRN_MESH_WIDGETS_EXPORT ProgressDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    /// Makes a delegate that draws and animates nothing yet.
    /// Thread: GUI thread.
    explicit ProgressDelegate(QObject* parent = nullptr);

    /// Stops the animation.
    /// Thread: GUI thread.
    ~ProgressDelegate() override;

    /// Whether a timer runs because a view has shown a cell whose total is not known.
    /// Thread: GUI thread.
    bool isAnimating() const;

    /// Draws \p index as a bar, in the state and style of \p option.
    /// Thread: GUI thread.
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

    /// Returns the place that a bar with its percentage needs.
    /// Thread: GUI thread.
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    class ProgressDelegateImpl;

    std::unique_ptr<ProgressDelegateImpl> m_impl;
};

} // namespace Brennic::Widgets
