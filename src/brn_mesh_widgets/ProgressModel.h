#pragma once
/// \file
/// Shows a tree of `Progress` in the views of Qt: a row for each progress, its parts below it.
///
///     auto* const model = new Brennic::Widgets::ProgressModel(window);
///     model->setProgress(import);
///     treeView->setModel(model);
///     treeView->setItemDelegateForColumn(Brennic::Widgets::ProgressModel::ProgressColumn,
///                                        new Brennic::Widgets::ProgressDelegate(treeView));
///
/// The one top-level row is the root. Parts that are added later appear, in the order of their addition. The
/// model watches the progress, and leaves its delegate to the host. The tool tip of a row that has failed says why.
///
/// Threads: the model belongs to the GUI thread. The tree may be reported on, grow and be destroyed in any
/// threads. A report only marks what has changed and never blocks; the model reads it in the GUI thread, at most once
/// per frame of 16 ms, however many reports there were.
///
/// Lifetime: the model does not own the progress and keeps none alive: it shares their states. Rows of a tree
/// that has been destroyed keep their last values, until the next `setProgress`.

#include <memory>

#include <QAbstractItemModel>

#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_widgets/Export.h>

namespace Brennic::Widgets {

/// The rows of a tree of progress.
class BRN_MESH_WIDGETS_EXPORT ProgressModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    /// The columns, from left to right.
    enum Column
    {
        DescriptionColumn,
        ProgressColumn,     ///< the percentage as a text; with a `ProgressDelegate` a bar
        StateColumn,        ///< the state in a word
        PendingUnitsColumn, ///< how many units of its parent the progress stands for; nothing for the root
        ColumnCount
    };
    Q_ENUM(Column)

    /// What every column of a row has.
    enum Role
    {
        DescriptionRole = Qt::UserRole + 1, ///< QString
        FractionRole,       ///< double, 0 to 1, exact from the parts; 0 while the total is not known
        StateRole,          ///< int, a \ref State
        CompletedUnitsRole, ///< int
        TotalUnitsRole,     ///< int, 0 or less if it is not known
        PendingUnitsRole,   ///< int; invalid for the root
        FailureRole,        ///< QString, the text of `Progress::fail`; empty if it was not called
        RemainingRole ///< double, `ProgressState::getEstimate` at this moment, in seconds; invalid if there is none
    };
    Q_ENUM(Role)

    /// How a progress stands: `ProgressState::getStatus`, and besides whether its total is known.
    enum State
    {
        Waiting,       ///< nothing is completed yet
        Running,       ///< a part is completed
        Indeterminate, ///< the total is not known, and the work waits or runs
        Complete,      ///< the total is completed
        Ended,         ///< the progress was destroyed before it was complete
        Cancelled,     ///< the work was asked to stop before it was complete
        Failed         ///< the work has said that it failed
    };
    Q_ENUM(State)

    /// Makes a model without rows.
    /// Thread: GUI thread.
    explicit ProgressModel(QObject* parent = nullptr);

    /// Releases the tree, without waiting for threads that report on it.
    /// Thread: GUI thread.
    ~ProgressModel() override;

    /// Shows \p progress and its parts in place of what was shown; an empty pointer leaves no rows.
    ///
    /// The model is reset, and has its rows when this returns.
    /// Thread: GUI thread. Ownership: stays with the caller.
    void setProgress(const std::shared_ptr<Core::Progress>& progress);

    /// Returns the root's row, in the first column; invalid without a progress.
    /// Thread: GUI thread.
    QModelIndex rootIndex() const;

    /// Returns the word for \p state that views show, translated.
    /// Thread: GUI thread.
    static QString stateText(State state);

    /// @{
    /// The functions of every item model.
    /// Thread: GUI thread.
    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;
    /// @}

    using QObject::parent;

Q_SIGNALS:
    /// A frame's changes have been read and announced, or \ref setProgress has been called.
    /// Thread: GUI thread.
    void refreshed();

private:
    class ProgressModelImpl;

    std::unique_ptr<ProgressModelImpl> m_impl;
};

} // namespace Brennic::Widgets
