#pragma once
/// \file
/// What the user can do: open a mesh, smooth it again, cancel, and say how to smooth.

#include <QToolBar>

#include "RunOptions.h"

class QAction;
class QSpinBox;

class RunToolBar : public QToolBar
{
    Q_OBJECT

public:
    /// Shows the options' numbers.
    explicit RunToolBar(const RunOptions& options, QWidget* parent = nullptr);

    /// Sets the numbers that the user has chosen.
    void apply(RunOptions& options) const;

    /// Lets the user do what makes sense now.
    void setState(bool hasMesh, bool isRunning);

    /// For a menu too: open, smooth, cancel.
    QList<QAction*> runActions() const { return {m_open, m_smooth, m_cancel}; }

Q_SIGNALS:
    void openRequested();
    void smoothRequested();
    void cancelRequested();

private:
    QAction* m_open;
    QAction* m_smooth;
    QAction* m_cancel;
    QSpinBox* m_iterations;
    QSpinBox* m_subdivisions;
};
