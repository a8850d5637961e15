#include "MainWindow.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include <QCloseEvent>
#include <QFileDialog>
#include <QMenuBar>
#include <QStatusBar>
#include <QVBoxLayout>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/Log.h>
#include <brn_mesh_widgets/ProgressModel.h>
#include <brn_mesh_widgets/ProgressStatusBar.h>
#include <brn_mesh_widgets/TaskbarProgress.h>

#include "LogTail.h"
#include "MeshView.h"
#include "MessageLine.h"
#include "RunFiles.h"
#include "RunSource.h"
#include "RunToolBar.h"
#include "RunViews.h"
#include "WaypointChart.h"
#include "WaypointFile.h"

using namespace Brennic::Core;
using Brennic::Widgets::ProgressStatusBar;
using Brennic::Widgets::TaskbarProgress;

namespace {

constexpr QSize usualSize(960, 600);

QString toText(const std::filesystem::path& path)
{
    return QString::fromStdString(path.u8string());
}

} // namespace

MainWindow::MainWindow(RunOptions options, RunSource& source)
    : m_options(std::move(options)),
      m_source(source),
      m_logTail(new LogTail(toText(m_options.log), this)),
      m_message(new MessageLine),
      m_toolBar(new RunToolBar(m_options)),
      m_views(new RunViews)
{
    addToolBar(m_toolBar);
    menuBar()->addMenu(tr("&Mesh"))->addActions(m_toolBar->runActions());
    auto* const centre = new QWidget;
    auto* const layout = new QVBoxLayout(centre);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_message);
    layout->addWidget(m_views, 1);
    setCentralWidget(centre);
    auto* const progress = new ProgressStatusBar;
    progress->setModel(m_views->progressModel());
    statusBar()->addWidget(progress, 1);
    auto* const entry = new TaskbarProgress(this);
    entry->setModel(m_views->progressModel());
    connect(m_logTail, &LogTail::linesArrived, m_views, &RunViews::appendLog);
    connect(m_toolBar, &RunToolBar::openRequested, this, &MainWindow::askForMesh);
    connect(m_toolBar, &RunToolBar::smoothRequested, this, &MainWindow::smooth);
    connect(m_toolBar, &RunToolBar::cancelRequested, this, &MainWindow::cancel);
    m_end.setSingleShot(true);
    connect(&m_end, &QTimer::timeout, this, [this] { Q_EMIT runEnded(m_outcome, m_error); });
    resize(usualSize);
    updateState();
}

MainWindow::~MainWindow() = default;

void MainWindow::openMesh(const std::filesystem::path& file)
{
    if (isRunning())
        return;
    RunOptions options = m_options;
    if (file != options.input) {
        options.input = file;
        options.output.clear();
        options.report.clear();
    }
    try {
        completeRunOptions(options);
        beginRun(std::move(options));
    } catch (const std::exception& error) {
        fail(QString::fromUtf8(error.what()));
    }
}

void MainWindow::smooth()
{
    if (m_hasMesh)
        openMesh(m_options.input);
}

void MainWindow::cancel()
{
    if (isRunning())
        m_run->cancel();
}

bool MainWindow::isRunning() const
{
    return m_run && m_run->isRunning();
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    cancel();
    event->accept();
}

void MainWindow::askForMesh()
{
    const QString file = QFileDialog::getOpenFileName(this, tr("Open a mesh and smooth it"), QString(),
                                                      tr("Triangle meshes (*.obj *.ply *.stl *.off)"));
    if (!file.isEmpty())
        openMesh(std::filesystem::u8path(file.toStdString()));
}

// The one run ends in the profiler before the next begins.
void MainWindow::beginRun(RunOptions options)
{
    m_toolBar->apply(options);
    requireWritablePlace(options.output);
    requireWritablePlace(options.report);
    m_run.reset();
    m_run = std::make_unique<SmoothingRun>(std::move(options), m_source);
    connect(m_run.get(), &SmoothingRun::stageDone, this, &MainWindow::finishStage);
    connect(m_run.get(), &SmoothingRun::meshChanged, m_views->mesh(), &MeshView::setShape);
    connect(m_run.get(), &SmoothingRun::ended, this, &MainWindow::endRun);
    Kernel::Instance().ProfilerWaypoint(idleWaypoint);
    BRN_LOG(Info, "smoothing {}", m_run->options().input);
    m_message->say(MessageLine::Kind::Notice, {});
    m_views->setProgress(m_run->root());
    m_run->start();
    updateState();
}

void MainWindow::finishStage(Stage stage, const std::wstring& message, const std::wstring& warning)
{
    BRN_LOG(Info, "{}", message);
    if (!warning.empty()) {
        BRN_LOG(Warn, "{}", warning);
        m_message->say(MessageLine::Kind::Notice, QString::fromStdWString(warning));
    }
    Kernel::Instance().ProfilerWaypoint(stageName(stage));
    if (stage == Stage::Load) {
        m_options = m_run->options();
        m_hasMesh = true;
        updateState();
    }
}

void MainWindow::endRun(SmoothingRun::Outcome outcome, const QString& error)
{
    if (outcome == SmoothingRun::Outcome::Done)
        finishRun();
    else if (outcome == SmoothingRun::Outcome::Failed)
        fail(error);
    else
        sayCancelled();
}

void MainWindow::finishRun()
{
    try {
        showReport();
    } catch (const std::exception& error) {
        const QString reason = QString::fromUtf8(error.what());
        m_run->root()->fail(reason.toStdWString());
        fail(reason);
        return;
    }
    BRN_LOG(Info, "saved {}", m_options.report);
    const QString saved = tr("Saved %1, and the report %2");
    if (!m_message->isVisible()) // a warning says more
        m_message->say(MessageLine::Kind::Success,
                       saved.arg(toText(m_options.output), toText(m_options.report)));
    finishShowing(SmoothingRun::Outcome::Done);
}

void MainWindow::sayCancelled()
{
    const QString sentence = tr("Cancelled: nothing was saved");
    BRN_LOG(Warn, "{}", sentence);
    m_message->say(MessageLine::Kind::Notice, sentence);
    finishShowing(SmoothingRun::Outcome::Interrupted);
}

void MainWindow::fail(const QString& error)
{
    BRN_LOG(Error, "{}", error);
    m_message->say(MessageLine::Kind::Error, error);
    finishShowing(SmoothingRun::Outcome::Failed, error);
}

void MainWindow::showReport()
{
    saveReport(m_options.report);
    m_views->chart()->setWaypoints(readLastRun(m_options.report));
}

// The signal comes later, so that who hears it may begin the next run.
void MainWindow::finishShowing(SmoothingRun::Outcome outcome, const QString& error)
{
    m_logTail->catchUp();
    updateState();
    m_outcome = outcome;
    m_error = error;
    m_end.start(0);
}

void MainWindow::updateState()
{
    m_toolBar->setState(m_hasMesh, isRunning());
    const QString program = QStringLiteral("mesh_workbench");
    const QString mesh = toText(m_options.input.filename());
    setWindowTitle(m_hasMesh ? mesh + QStringLiteral(" - ") + program : program);
}

#include "moc_MainWindow.cpp" // NOLINT(bugprone-suspicious-include)
