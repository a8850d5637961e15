#include "RunViews.h"

#include <QFontDatabase>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTreeView>
#include <QVBoxLayout>

#include <brn_mesh_widgets/ProgressDelegate.h>
#include <brn_mesh_widgets/ProgressModel.h>

#include "MeshView.h"
#include "WaypointChart.h"

using Brennic::Widgets::ProgressDelegate;
using Brennic::Widgets::ProgressModel;

namespace {

constexpr int mostLogLines = 5000;
constexpr int leastTreeColumns = 36; // characters

QWidget* titled(const QString& title, QWidget* view)
{
    auto* const pane = new QWidget;
    auto* const layout = new QVBoxLayout(pane);
    auto* const label = new QLabel(title);
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(label);
    layout->addWidget(view, 1);
    return pane;
}

QSplitter* sideBySide(QWidget* left, QWidget* right, int leftWidth, int rightWidth)
{
    auto* const row = new QSplitter(Qt::Horizontal);
    row->addWidget(left);
    row->addWidget(right);
    row->setChildrenCollapsible(false);
    row->setSizes({leftWidth, rightWidth});
    return row;
}

QTreeView* makeTree(ProgressModel* model)
{
    auto* const tree = new QTreeView;
    tree->setObjectName(QStringLiteral("progressTree"));
    tree->setModel(model);
    tree->setItemDelegateForColumn(ProgressModel::ProgressColumn, new ProgressDelegate(tree));
    tree->setUniformRowHeights(true);
    tree->hideColumn(ProgressModel::PendingUnitsColumn);
    QHeaderView* const header = tree->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(ProgressModel::DescriptionColumn, QHeaderView::ResizeToContents);
    header->setSectionResizeMode(ProgressModel::ProgressColumn, QHeaderView::Stretch);
    header->setSectionResizeMode(ProgressModel::StateColumn, QHeaderView::ResizeToContents);
    tree->setMinimumWidth(leastTreeColumns *
                          tree->fontMetrics().averageCharWidth()); // else the bars have no place
    return tree;
}

QPlainTextEdit* makeLog()
{
    auto* const log = new QPlainTextEdit;
    log->setObjectName(QStringLiteral("log"));
    log->setReadOnly(true);
    log->setUndoRedoEnabled(false);
    log->setMaximumBlockCount(mostLogLines);
    log->setLineWrapMode(QPlainTextEdit::NoWrap);
    log->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    return log;
}

} // namespace

RunViews::RunViews(QWidget* parent)
    : QSplitter(Qt::Vertical, parent),
      m_model(new ProgressModel(this)),
      m_tree(makeTree(m_model)),
      m_mesh(new MeshView),
      m_chart(new WaypointChart),
      m_log(makeLog())
{
    addWidget(sideBySide(titled(tr("Progress"), m_tree), titled(tr("Mesh"), m_mesh), 400, 540));
    addWidget(
        sideBySide(titled(tr("Log"), m_log), titled(tr("Waypoints of the last run"), m_chart), 520, 420));
    setChildrenCollapsible(false);
    setSizes({300, 200});
}

void RunViews::setProgress(const std::shared_ptr<Brennic::Core::Progress>& progress)
{
    m_model->setProgress(progress);
    m_tree->expandAll();
}

void RunViews::appendLog(const QString& lines)
{
    m_log->appendPlainText(lines);
}

#include "moc_RunViews.cpp" // NOLINT(bugprone-suspicious-include)
