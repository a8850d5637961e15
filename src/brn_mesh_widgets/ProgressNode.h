#pragma once
/// \file
/// One row of a `ProgressModel`: what was last read of a progress, and the rows below. Not installed.
///
/// Thread: GUI thread.

#include <cstddef>
#include <memory>
#include <vector>

#include <QString>

#include <brn_mesh_kernel/progress/ProgressState.h>
#include <brn_mesh_widgets/ProgressModel.h>
#include <brn_mesh_widgets/ProgressWatch.h>

namespace Brennic::Widgets {

class ProgressNode
{
public:
    using Parts = std::vector<Core::ProgressState::Part>;

    ProgressNode(std::shared_ptr<Core::ProgressState> state, const std::shared_ptr<FrameRequest>& request);

    ProgressNode(const ProgressNode&) = delete;
    ProgressNode& operator=(const ProgressNode&) = delete;

    /// Whether the progress has changed since the last call; to be called before it is read.
    bool takeChange() { return m_watch->takeChange(); }

    /// Has this row, and those above it, read again: their fractions and states are computed from their parts.
    void markStale();

    /// Reads the progress if it was marked; returns whether anything that is shown differs from before.
    bool readIfStale();

    /// Returns the parts that have no row yet.
    Parts newParts() const;

    /// Appends a row for \p part, and returns it.
    ProgressNode* append(const Core::ProgressState::Part& part, const std::shared_ptr<FrameRequest>& request);

    ProgressNode* parent() const { return m_parent; }
    int row() const { return m_row; }
    int childCount() const { return static_cast<int>(m_children.size()); }
    ProgressNode* child(int row) const { return m_children[static_cast<std::size_t>(row)].get(); }

    const QString& description() const { return m_values.description; }
    int totalUnitCount() const { return m_values.totalUnitCount; }
    int completedUnitCount() const { return m_values.completedUnitCount; }
    int pendingUnitCount() const { return m_pendingUnitCount; }
    double fraction() const { return m_values.fraction; }
    ProgressModel::State state() const { return m_values.state; }
    const QString& failure() const { return m_values.failure; }

    /// Not what was read last, but what can be said at this moment: it changes with time.
    Core::ProgressEstimate estimate() const { return m_state->getEstimate(); }

private:
    struct Values
    {
        QString description;
        int totalUnitCount = 0;
        int completedUnitCount = 0;
        double fraction = 0;
        ProgressModel::State state = ProgressModel::Waiting;
        QString failure;
    };

    const std::shared_ptr<Core::ProgressState> m_state;
    const std::shared_ptr<ProgressWatch> m_watch;
    ProgressNode* m_parent = nullptr;
    int m_row = 0;
    int m_pendingUnitCount = 0;
    bool m_isStale = true;
    Values m_values;
    std::vector<std::unique_ptr<ProgressNode>> m_children;
};

} // namespace Brennic::Widgets
