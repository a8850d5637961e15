#pragma once
/// \file
/// The work of a run: load, subdivide, smooth, save.

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "Mesh.h"
#include "RunOptions.h"
#include "Stages.h"

/// What to tell people of an exception, in one sentence.
std::string reasonOf(const std::exception& error);

/// How a run has ended. A value, which a future carries with every Qt; of exceptions Qt 5 carries its own only.
struct RunEnd
{
    enum class Outcome
    {
        Done,
        Interrupted,
        Failed,
    };

    Outcome outcome = Outcome::Failed;
    std::string error; ///< one sentence if it has failed
};

class Pipeline
{
public:
    /// Hears, in the thread that runs the pipeline, that a stage is done, and what to say of it; the warning is
    /// empty if there is none.
    using StageDone =
        std::function<void(Stage stage, const std::wstring& message, const std::wstring& warning)>;

    /// Makes the workers that help with the smoothing. The options and the stages are borrowed.
    Pipeline(const RunOptions& options, Stages& stages, StageDone stageDone);

    /// Does all of it, once. It is interrupted soon, also in the middle of an iteration, once the root of the stages was
    /// cancelled, and fails by what a stage throws; in both cases no output is left. The root tells a failure too.
    /// While it smooths, the root's cancel handler is the pipeline's.
    RunEnd run();

    /// What the stages have made of the mesh so far. To be read while `StageDone` is called, in its thread.
    const Mesh& mesh() const { return m_mesh; }

    /// How often all vertices have been smoothed. May be called from any thread.
    int iterationsDone() const { return m_iterationsDone; }

private:
    void load();
    void subdivide();
    void smooth();
    void save();
    void stopIfCancelled() const;
    RunEnd failed(const std::string& reason);

    const RunOptions& m_options;
    Stages& m_stages;
    std::shared_ptr<Brennic::Core::TaskQueue> m_helpers; // beside the thread that runs the pipeline
    StageDone m_stageDone;
    Mesh m_mesh;
    std::atomic<int> m_iterationsDone{0};
};
