#include "Screenshot.h"

#include <utility>

#include <QImageWriter>
#include <QPixmap>

#include <brn_mesh_widgets/ProgressModel.h>

#include "MainWindow.h"
#include "MeshView.h"
#include "RunViews.h"

using Brennic::Widgets::ProgressModel;

Screenshot::Screenshot(MainWindow& window, std::filesystem::path file)
    : m_window(window), m_file(std::move(file))
{
    m_layoutDone.setSingleShot(true);
    connect(&m_layoutDone, &QTimer::timeout, this, &Screenshot::take);
    connect(&window, &MainWindow::runEnded, this,
            [this](SmoothingRun::Outcome outcome, const QString& error) {
                m_isRunDone = outcome == SmoothingRun::Outcome::Done;
                if (m_isRunDone)
                    takeWhenShown();
                else
                    Q_EMIT finished(error.isEmpty() ? tr("the run was cancelled") : error);
            });
    connect(window.views().progressModel(), &ProgressModel::refreshed, this, &Screenshot::takeWhenShown);
    connect(window.views().mesh(), &MeshView::pictureShown, this, &Screenshot::takeWhenShown);
}

// The tree shows the last reports a moment after they were made, and the mesh is drawn in the background.
void Screenshot::takeWhenShown()
{
    const QModelIndex root = m_window.views().progressModel()->rootIndex();
    if (!m_isRunDone || root.data(ProgressModel::StateRole).toInt() != ProgressModel::Complete ||
        !m_window.views().mesh()->isFine())
        return;
    m_isRunDone = false;
    // Behind the layout that the last changes have asked for.
    m_layoutDone.start(0);
}

void Screenshot::take()
{
    QImageWriter writer(QString::fromStdString(m_file.u8string()), "png");
    const bool isSaved = writer.write(m_window.grab().toImage());
    const QString name = QString::fromStdString(m_file.u8string());
    Q_EMIT finished(isSaved ? QString() : tr("cannot save %1: %2").arg(name, writer.errorString()));
}

#include "moc_Screenshot.cpp" // NOLINT(bugprone-suspicious-include)
