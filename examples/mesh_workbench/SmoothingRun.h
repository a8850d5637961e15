#pragma once
/// \file
/// A run of the pipeline in the background, as a window has it: it tells in signals what happens.
///
/// The pipeline is a task on one of the library's own queues; while it smooths, workers of a queue of its own
/// help it with loops over the vertices. It waits for the GUI thread after each stage.
///
/// Everything here belongs to the GUI thread, and so do the signals.

#include <memory>
#include <string>

#include <QObject>
#include <QString>

#include "MeshShape.h"
#include "Pipeline.h"
#include "RunOptions.h"
#include "Stages.h"

class RunSource;

class SmoothingRun : public QObject
{
    Q_OBJECT

public:
    using Outcome = RunEnd::Outcome;

    /// Counts its iterations in \p source, which must outlive the run, as long as it lives.
    SmoothingRun(RunOptions options, RunSource& source);
    /// Cancels the run, and serves events until it has ended: no signal comes any more.
    ~SmoothingRun() override;
    SmoothingRun(const SmoothingRun&) = delete;
    SmoothingRun& operator=(const SmoothingRun&) = delete;

    const RunOptions& options() const { return m_options; }
    const std::shared_ptr<Brennic::Core::Progress>& root() const { return m_stages.root(); }
    bool isRunning() const { return m_isRunning; }

    /// Begins the work; once.
    void start();
    /// Cancels the tree of progress: the run ends soon.
    void cancel() { root()->cancel(); }

Q_SIGNALS:
    /// A stage is done, and the pipeline waits; the warning is empty if there is none.
    void stageDone(Stage stage, const std::wstring& message, const std::wstring& warning);
    /// The same, after a stage that has changed the mesh, with a copy of it.
    void meshChanged(const std::shared_ptr<const MeshShape>& shape);
    /// Nothing runs any more. \p error is one sentence if the run has failed.
    void ended(SmoothingRun::Outcome outcome, const QString& error);

private:
    void tell(Stage stage, const std::wstring& message, const std::wstring& warning);
    void end(const RunEnd& how);

    const RunOptions m_options;
    RunSource& m_source;
    Stages m_stages;
    Pipeline m_pipeline;
    bool m_isRunning = false;
};
