#pragma once
/// \file
/// Shows how far the run has come: one live line on a terminal, a line per stage elsewhere.
///
/// Everything here belongs to the GUI thread, in which the reports of the root progress arrive.

#include <chrono>
#include <string>

#include <QTimer>

#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>

#include "ProgressLine.h"

class ProgressDisplay : public Brennic::Core::ProgressReportingProtocol
{
public:
    ProgressDisplay();
    virtual ~ProgressDisplay();
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    void progressUpdated(Brennic::Core::Progress* progress, float fraction,
                         const std::wstring& description) override;
    void progressCompleted(Brennic::Core::Progress* progress, const std::wstring& description) override;

    /// Prints a line per stage where the output is no terminal.
    void stageDone(const std::string& stage);

    /// Takes the live line away, so that something else can be printed; it comes back by itself.
    void clearLine();
    /// Takes it away for good.
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    void draw();

    const bool m_isLive;
    const Clock::time_point m_start = Clock::now();
    Clock::time_point m_stageStart = m_start;
    RunState m_state;
    QTimer m_timer;
    bool m_isLineShown = false;
};
