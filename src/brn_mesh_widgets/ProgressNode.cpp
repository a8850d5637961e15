#include <brn_mesh_widgets/ProgressNode.h>

#include <tuple>
#include <utility>

namespace Brennic::Widgets {

namespace {

bool isUnknown(int totalUnitCount)
{
    return totalUnitCount <= 0;
}

ProgressModel::State toState(Core::EProgressStatus status, int totalUnitCount)
{
    switch (status) {
    case Core::EProgressStatus::Failed:
        return ProgressModel::Failed;
    case Core::EProgressStatus::Complete:
        return ProgressModel::Complete;
    case Core::EProgressStatus::Cancelled:
        return ProgressModel::Cancelled;
    case Core::EProgressStatus::Ended:
        return ProgressModel::Ended;
    case Core::EProgressStatus::Running:
        return isUnknown(totalUnitCount) ? ProgressModel::Indeterminate : ProgressModel::Running;
    case Core::EProgressStatus::Waiting:
        return isUnknown(totalUnitCount) ? ProgressModel::Indeterminate : ProgressModel::Waiting;
    }
    return ProgressModel::Running;
}

// What is complete shows all of it, even if its parts are not.
double shownFraction(const Core::ProgressState& state, ProgressModel::State shown)
{
    return shown == ProgressModel::Complete ? 1.0 : state.getFraction();
}

} // namespace

// Added as a watcher before the first read, so that no change in between is missed.
ProgressNode::ProgressNode(std::shared_ptr<Core::ProgressState> state,
                           const std::shared_ptr<FrameRequest>& request)
    : m_state(std::move(state)), m_watch(std::make_shared<ProgressWatch>(request))
{
    m_state->addWatcher(m_watch);
    readIfStale();
}

// Above a row that is marked all are marked.
void ProgressNode::markStale()
{
    for (ProgressNode* node = this; node != nullptr && !node->m_isStale; node = node->m_parent)
        node->m_isStale = true;
}

bool ProgressNode::readIfStale()
{
    if (!std::exchange(m_isStale, false))
        return false;
    Values values;
    values.totalUnitCount = m_state->getTotalUnitCount();
    values.state = toState(m_state->getStatus(), values.totalUnitCount);
    values.description = QString::fromStdWString(m_state->getDescription());
    values.completedUnitCount = m_state->getCompletedUnitCount();
    values.fraction = shownFraction(*m_state, values.state);
    values.failure = QString::fromStdWString(m_state->getFailure());
    const auto shown = [](const Values& all) {
        return std::tie(all.description, all.totalUnitCount, all.completedUnitCount, all.fraction, all.state,
                        all.failure);
    };
    if (shown(values) == shown(m_values))
        return false;
    m_values = std::move(values);
    return true;
}

ProgressNode::Parts ProgressNode::newParts() const
{
    return m_state->getParts(m_children.size());
}

ProgressNode* ProgressNode::append(const Core::ProgressState::Part& part,
                                   const std::shared_ptr<FrameRequest>& request)
{
    auto child = std::make_unique<ProgressNode>(part.state, request);
    child->m_parent = this;
    child->m_row = childCount();
    child->m_pendingUnitCount = part.pendingUnitCount;
    m_children.push_back(std::move(child));
    return m_children.back().get();
}

} // namespace Brennic::Widgets
