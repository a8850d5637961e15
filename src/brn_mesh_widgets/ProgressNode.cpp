#include <brn_mesh_widgets/ProgressNode.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace Brennic::Widgets {

// Added as a watcher before the first read, so that no change in between is missed.
ProgressNode::ProgressNode(std::shared_ptr<Core::ProgressState> state,
                           const std::shared_ptr<FrameRequest>& request)
    : m_state(std::move(state)), m_watch(std::make_shared<ProgressWatch>(request))
{
    m_state->addWatcher(m_watch);
    read();
}

bool ProgressNode::read()
{
    const bool hasEnded = m_state->hasEnded(); // read first: values that are read after the end are final
    Values values{QString::fromStdWString(m_state->getDescription()), m_state->getTotalUnitCount(),
                  m_state->getCompletedUnitCount(), hasEnded};
    const auto shown = [](const Values& all) {
        return std::tie(all.description, all.totalUnitCount, all.completedUnitCount, all.hasEnded);
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

double ProgressNode::fraction() const
{
    if (m_values.totalUnitCount <= 0)
        return 0.0;
    return std::clamp(double(m_values.completedUnitCount) / m_values.totalUnitCount, 0.0, 1.0);
}

ProgressModel::State ProgressNode::state() const
{
    const bool isKnown = m_values.totalUnitCount > 0;
    if (isKnown && m_values.completedUnitCount >= m_values.totalUnitCount)
        return ProgressModel::Complete;
    if (m_values.hasEnded)
        return ProgressModel::Ended;
    if (!isKnown)
        return ProgressModel::Indeterminate;
    return m_values.completedUnitCount > 0 ? ProgressModel::Running : ProgressModel::Waiting;
}

} // namespace Brennic::Widgets
