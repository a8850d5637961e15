#pragma once
/// \file
/// What the window shows of a run: the tree of its progress and the mesh, and below the log and the chart of waypoints.

#include <memory>

#include <QSplitter>

#include <brn_mesh_kernel/progress/Progress.h>

class MeshView;
class QPlainTextEdit;
class QTreeView;
class WaypointChart;

namespace Brennic::Widgets {
class ProgressModel;
} // namespace Brennic::Widgets

class RunViews : public QSplitter
{
    Q_OBJECT

public:
    explicit RunViews(QWidget* parent = nullptr);

    /// Shows this progress in place of the one before.
    void setProgress(const std::shared_ptr<Brennic::Core::Progress>& progress);
    /// Adds lines at the log's end, and follows them unless the user has scrolled away. The oldest lines go.
    void appendLog(const QString& lines);

    Brennic::Widgets::ProgressModel* progressModel() const { return m_model; }
    MeshView* mesh() const { return m_mesh; }
    WaypointChart* chart() const { return m_chart; }

private:
    Brennic::Widgets::ProgressModel* m_model;
    QTreeView* m_tree;
    MeshView* m_mesh;
    WaypointChart* m_chart;
    QPlainTextEdit* m_log;
};
