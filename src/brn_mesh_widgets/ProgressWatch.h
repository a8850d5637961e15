#pragma once
/// \file
/// Marks one progress as changed, in the thread that changes it, and asks for a frame. Not installed.

#include <atomic>
#include <memory>
#include <string>

#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>
#include <brn_mesh_widgets/FrameRequest.h>

namespace Brennic::Widgets {

class ProgressWatch final : public Core::ProgressReportingProtocol
{
public:
    /// Makes a watch that is marked: nothing of the progress has been read yet.
    explicit ProgressWatch(std::shared_ptr<FrameRequest> request);

    /// Whether there was a change since the last call; to be called before the progress is read.
    /// Thread: GUI thread.
    bool takeChange();

    void progressUpdated(Core::Progress* progress, float fraction, const std::wstring& description) override;
    void progressCompleted(Core::Progress* progress, const std::wstring& description) override;

private:
    void mark();

    const std::shared_ptr<FrameRequest> m_request;
    std::atomic<bool> m_isChanged{true};
};

} // namespace Brennic::Widgets
