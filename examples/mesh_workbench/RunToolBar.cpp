#include "RunToolBar.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QSpinBox>
#include <QToolButton>

#include "PaletteIcon.h"

namespace {

// The name and the box are one item, so that a narrow bar shows both or neither.
QSpinBox* addNumber(QToolBar& bar, const QString& name, int value, int most)
{
    auto* const item = new QWidget;
    auto* const layout = new QHBoxLayout(item);
    auto* const box = new QSpinBox;
    layout->setContentsMargins(6, 0, 6, 0);
    layout->addWidget(new QLabel(QStringLiteral("%1:").arg(name)));
    layout->addWidget(box);
    box->setRange(0, most);
    box->setValue(value);
    bar.addWidget(item);
    return box;
}

// Qt's arrow for what does not fit is dark in every palette.
void setOverflowIcon(QToolBar& bar)
{
    if (auto* const button = bar.findChild<QToolButton*>(QStringLiteral("qt_toolbar_ext_button")))
        button->setIcon(paletteIcon(IconShape::Chevrons));
}

} // namespace

RunToolBar::RunToolBar(const RunOptions& options, QWidget* parent)
    : QToolBar(tr("Run"), parent),
      m_open(addAction(paletteIcon(IconShape::Folder), tr("&Open…"))),
      m_smooth(addAction(paletteIcon(IconShape::Triangle), tr("&Smooth"))),
      m_cancel(addAction(paletteIcon(IconShape::Square), tr("&Cancel")))
{
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setMovable(false);
    m_open->setShortcut(QKeySequence::Open);
    m_open->setToolTip(tr("Open a mesh and smooth it"));
    m_smooth->setShortcut(Qt::Key_F5);
    m_smooth->setToolTip(tr("Smooth the mesh once more, from its file"));
    m_cancel->setShortcut(Qt::Key_Escape);
    m_cancel->setToolTip(tr("End the run before its next step; nothing is saved"));
    addSeparator();
    m_iterations = addNumber(*this, tr("Iterations"), options.iterations, maxIterations);
    m_subdivisions = addNumber(*this, tr("Subdivisions"), options.subdivisions, maxSubdivisions);
    connect(m_open, &QAction::triggered, this, &RunToolBar::openRequested);
    connect(m_smooth, &QAction::triggered, this, &RunToolBar::smoothRequested);
    connect(m_cancel, &QAction::triggered, this, &RunToolBar::cancelRequested);
    setOverflowIcon(*this);
    setState(false, false);
}

void RunToolBar::apply(RunOptions& options) const
{
    options.iterations = m_iterations->value();
    options.subdivisions = m_subdivisions->value();
}

void RunToolBar::setState(bool hasMesh, bool isRunning)
{
    m_open->setEnabled(!isRunning);
    m_smooth->setEnabled(hasMesh && !isRunning);
    m_cancel->setEnabled(isRunning);
    m_iterations->setEnabled(!isRunning);
    m_subdivisions->setEnabled(!isRunning);
}

#include "moc_RunToolBar.cpp" // NOLINT(bugprone-suspicious-include)
