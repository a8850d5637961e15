#include <brn_mesh_widgets/ProgressModel.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include <brn_mesh_kernel/progress/Percent.h>
#include <brn_mesh_widgets/FrameClock.h>
#include <brn_mesh_widgets/ProgressNode.h>

namespace Brennic::Widgets {

namespace {

const ProgressNode& nodeOf(const QModelIndex& index)
{
    return *static_cast<const ProgressNode*>(index.internalPointer());
}

QString percentage(const ProgressNode& node)
{
    if (node.totalUnitCount() <= 0)
        return {};
    return ProgressModel::tr("%1 %").arg(Core::toPercent(node.fraction()));
}

// Only what the other cells do not say.
QVariant toolTip(const ProgressNode& node)
{
    if (node.state() != ProgressModel::Failed || node.failure().isEmpty())
        return {};
    return ProgressModel::tr("%1: %2")
        .arg(ProgressModel::stateText(node.state()), node.failure())
        .toHtmlEscaped();
}

QVariant pendingUnits(const ProgressNode& node)
{
    return node.parent() == nullptr ? QVariant() : QVariant(node.pendingUnitCount());
}

QVariant remaining(const ProgressNode& node)
{
    const auto time = node.estimate().remaining;
    return time ? QVariant(time->count()) : QVariant();
}

QVariant shownData(const ProgressNode& node, int column)
{
    switch (column) {
    case ProgressModel::DescriptionColumn:
        return node.description();
    case ProgressModel::ProgressColumn:
        return percentage(node);
    case ProgressModel::StateColumn:
        return ProgressModel::stateText(node.state());
    case ProgressModel::PendingUnitsColumn:
        return pendingUnits(node);
    default:
        return {};
    }
}

} // namespace

class ProgressModel::ProgressModelImpl
{
public:
    explicit ProgressModelImpl(ProgressModel& model);

    void setRoot(const std::shared_ptr<Core::Progress>& progress);
    void refresh();
    QModelIndex indexOf(const ProgressNode& node, int column) const;

    ProgressModel& model;
    FrameClock* clock; // owned by the model as a QObject
    std::unique_ptr<ProgressNode> root;
    std::vector<ProgressNode*> nodes; // each behind its parent, rows of one burst behind each other

private:
    void append(ProgressNode& node, const ProgressNode::Parts& parts);
    void appendNewRows(ProgressNode& node);
    void announce(const std::vector<ProgressNode*>& changed);
};

ProgressModel::ProgressModelImpl::ProgressModelImpl(ProgressModel& owner)
    : model(owner), clock(new FrameClock(&owner))
{
    QObject::connect(clock, &FrameClock::frame, &owner, [this] { refresh(); });
}

void ProgressModel::ProgressModelImpl::setRoot(const std::shared_ptr<Core::Progress>& progress)
{
    nodes.clear();
    root.reset();
    if (!progress)
        return;
    root = std::make_unique<ProgressNode>(progress->getState(), clock->request());
    nodes.push_back(root.get());
    for (std::size_t i = 0; i < nodes.size(); ++i) { // which grows meanwhile
        nodes[i]->takeChange();                      // before it is read
        append(*nodes[i], nodes[i]->newParts());
    }
    // From below: what is computed from parts is read when all of them are watched.
    std::for_each(nodes.rbegin(), nodes.rend(), [](ProgressNode* node) {
        node->markStale();
        node->readIfStale();
    });
}

void ProgressModel::ProgressModelImpl::refresh()
{
    for (std::size_t i = 0; i < nodes.size(); ++i) { // which grows meanwhile
        if (!nodes[i]->takeChange())
            continue;
        nodes[i]->markStale();
        appendNewRows(*nodes[i]);
    }
    std::vector<ProgressNode*> changed;
    std::copy_if(nodes.begin(), nodes.end(), std::back_inserter(changed),
                 [](ProgressNode* node) { return node->readIfStale(); });
    announce(changed);
    Q_EMIT model.refreshed();
}

QModelIndex ProgressModel::ProgressModelImpl::indexOf(const ProgressNode& node, int column) const
{
    return model.createIndex(node.row(), column, const_cast<ProgressNode*>(&node));
}

void ProgressModel::ProgressModelImpl::append(ProgressNode& node, const ProgressNode::Parts& parts)
{
    for (const Core::ProgressState::Part& part : parts)
        nodes.push_back(node.append(part, clock->request()));
}

void ProgressModel::ProgressModelImpl::appendNewRows(ProgressNode& node)
{
    const ProgressNode::Parts parts = node.newParts();
    if (parts.empty())
        return;
    const int first = node.childCount();
    const int last = first + static_cast<int>(parts.size()) - 1;
    model.beginInsertRows(indexOf(node, 0), first, last);
    append(node, parts);
    model.endInsertRows();
}

// One signal for adjacent rows: a view may examine its whole viewport for each signal.
void ProgressModel::ProgressModelImpl::announce(const std::vector<ProgressNode*>& changed)
{
    for (std::size_t first = 0; first < changed.size();) {
        std::size_t last = first;
        while (last + 1 < changed.size() && changed[last + 1]->parent() == changed[last]->parent() &&
               changed[last + 1]->row() == changed[last]->row() + 1)
            ++last;
        Q_EMIT model.dataChanged(indexOf(*changed[first], 0), indexOf(*changed[last], ColumnCount - 1));
        first = last + 1;
    }
}

ProgressModel::ProgressModel(QObject* parent)
    : QAbstractItemModel(parent), m_impl(std::make_unique<ProgressModelImpl>(*this))
{
}

ProgressModel::~ProgressModel() = default;

void ProgressModel::setProgress(const std::shared_ptr<Core::Progress>& progress)
{
    beginResetModel();
    m_impl->setRoot(progress);
    endResetModel();
    Q_EMIT refreshed();
}

QModelIndex ProgressModel::rootIndex() const
{
    return index(0, 0);
}

QString ProgressModel::stateText(State state)
{
    switch (state) {
    case Waiting:
        return tr("waiting");
    case Running:
    case Indeterminate:
        return tr("running");
    case Complete:
        return tr("complete");
    case Ended:
        return tr("ended");
    case Cancelled:
        return tr("cancelled");
    case Failed:
        return tr("failed");
    }
    return {};
}

QModelIndex ProgressModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    return m_impl->indexOf(parent.isValid() ? *nodeOf(parent).child(row) : *m_impl->root, column);
}

QModelIndex ProgressModel::parent(const QModelIndex& child) const
{
    const ProgressNode* const node = child.isValid() ? nodeOf(child).parent() : nullptr;
    return node == nullptr ? QModelIndex() : m_impl->indexOf(*node, 0);
}

int ProgressModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return m_impl->root ? 1 : 0;
    return parent.column() == 0 ? nodeOf(parent).childCount() : 0;
}

int ProgressModel::columnCount(const QModelIndex&) const
{
    return ColumnCount;
}

QVariant ProgressModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const ProgressNode& node = nodeOf(index);
    switch (role) {
    case Qt::DisplayRole:
        return shownData(node, index.column());
    case Qt::TextAlignmentRole:
        return index.column() == PendingUnitsColumn ? QVariant(int(Qt::AlignRight | Qt::AlignVCenter))
                                                    : QVariant();
    case Qt::ToolTipRole:
        return toolTip(node);
    case DescriptionRole:
        return node.description();
    case FractionRole:
        return node.fraction();
    case StateRole:
        return static_cast<int>(node.state());
    case CompletedUnitsRole:
        return node.completedUnitCount();
    case TotalUnitsRole:
        return node.totalUnitCount();
    case PendingUnitsRole:
        return pendingUnits(node);
    case FailureRole:
        return node.failure();
    case RemainingRole:
        return remaining(node);
    default:
        return {};
    }
}

QVariant ProgressModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case DescriptionColumn:
        return tr("Work");
    case ProgressColumn:
        return tr("Progress");
    case StateColumn:
        return tr("State");
    case PendingUnitsColumn:
        return tr("Units of the whole");
    default:
        return {};
    }
}

QHash<int, QByteArray> ProgressModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractItemModel::roleNames();
    names.insert(DescriptionRole, "description");
    names.insert(FractionRole, "fraction");
    names.insert(StateRole, "state");
    names.insert(CompletedUnitsRole, "completedUnits");
    names.insert(TotalUnitsRole, "totalUnits");
    names.insert(PendingUnitsRole, "pendingUnits");
    names.insert(FailureRole, "failure");
    names.insert(RemainingRole, "remaining");
    return names;
}

} // namespace Brennic::Widgets

#include "moc_ProgressModel.cpp" // NOLINT(bugprone-suspicious-include)
