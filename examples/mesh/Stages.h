#pragma once
/// \file
/// The stages of a run and how far each has come, as children of one root progress.

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include <brn_mesh_kernel/progress/Progress.h>

struct RunOptions;

enum class Stage
{
    Load,
    Subdivide,
    Smooth,
    Save,
};

constexpr std::array<Stage, 4> allStages = {Stage::Load, Stage::Subdivide, Stage::Smooth, Stage::Save};

/// The stage's name for people, for the log and for the report.
const wchar_t* stageName(Stage stage);

/// Progress of a run. All functions but the construction belong to the thread that does the work.
class Stages
{
public:
    /// Weighs the stages by what they will cost, judged by the size of the file and the options.
    /// \param name the root's description; if it is empty, the stage that has begun gives it.
    Stages(const RunOptions& options, std::uintmax_t inputSize, const std::wstring& name = {});

    const std::shared_ptr<Brennic::Core::Progress>& root() const { return m_root; }

    /// Whether the run has this stage at all.
    bool has(Stage stage) const;

    /// Reports that nothing of the stage is done yet, and names the root after it if it has no name of its own.
    void begin(Stage stage);
    /// Reports that \p done of \p total parts of the stage are done; at least one part.
    void report(Stage stage, int done, int total);
    /// Says that the stage that has begun last has failed, and the run with it. What has not begun is cancelled.
    void fail(const std::wstring& reason);

private:
    const bool m_isNamedAfterStage;
    std::shared_ptr<Brennic::Core::Progress> m_root;
    std::array<std::shared_ptr<Brennic::Core::Progress>, allStages.size()> m_stages;
    Brennic::Core::Progress* m_begun = nullptr; // the stage that has begun last
};
