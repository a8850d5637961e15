#pragma once
/// \file
/// The window: runs one mesh at a time, and shows what the run and the log say.
///
/// Closing it while a run is under way cancels the run; destroying it waits for the run's end.

#include <filesystem>
#include <memory>

#include <QMainWindow>
#include <QTimer>

#include "RunOptions.h"
#include "SmoothingRun.h"

class LogTail;
class MessageLine;
class RunSource;
class RunToolBar;
class RunViews;

class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// \param options how to smooth, until the user changes it; the mesh that they name is not opened yet.
    /// \param source must outlive the window.
    /// The window shows what is added to the options' log file from now on.
    MainWindow(RunOptions options, RunSource& source);
    ~MainWindow() override;
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    /// Smooths the mesh of this file, and names the results after it. A file that cannot be used is told of in
    /// the window and in the log, and the mesh before it stays the one to smooth again.
    void openMesh(const std::filesystem::path& file);
    /// Smooths the mesh that the options name. Nothing happens while a run is under way.
    void smooth();
    void cancel();

    bool isRunning() const;
    RunViews& views() const { return *m_views; }

Q_SIGNALS:
    /// A run is over, and all has been shown that it left. \p error is one sentence if it has failed.
    void runEnded(SmoothingRun::Outcome outcome, const QString& error);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void askForMesh();
    void beginRun(RunOptions options);
    void finishStage(Stage stage, const std::wstring& message, const std::wstring& warning);
    void endRun(SmoothingRun::Outcome outcome, const QString& error);
    void finishRun();
    void sayCancelled();
    void fail(const QString& error);
    void showReport();
    void finishShowing(SmoothingRun::Outcome outcome, const QString& error = {});
    void updateState();

    RunOptions m_options;
    RunSource& m_source;
    LogTail* m_logTail;
    MessageLine* m_message;
    RunToolBar* m_toolBar;
    RunViews* m_views;
    bool m_hasMesh = false; // one that could be loaded; the options name it
    QTimer m_end;           // from which the end of a run, which follows, is told
    SmoothingRun::Outcome m_outcome = SmoothingRun::Outcome::Failed;
    QString m_error;
    std::unique_ptr<SmoothingRun> m_run;
};
